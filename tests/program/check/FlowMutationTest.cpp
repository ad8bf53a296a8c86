// Random mistakes in the examples: what a check calls an error fails or does nothing in a run that is forced, and what
// it lets pass fails for no reason that it should have known. ORVFLOW_FLOW_MUTANTS makes more of them.
#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "nlohmann/json.hpp"
#include "tests/program/support/FlowMutation.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

int HowMany() {
  const char* const text = std::getenv("ORVFLOW_FLOW_MUTANTS");
  return text == nullptr ? 60 : std::atoi(text);
}

struct Mutant {
  std::string folder;
  std::string flow;
  std::string mistake;
  std::vector<std::string> errors;  // their paths
  std::size_t warnings = 0;
};

class FlowMutationTest : public ProgramFixture {
 protected:
  // The backup and the house that absorbs a guest, small, in a folder each.
  static std::string TextOf(const std::string& example) {
    std::string text = ReadFile(SourceFolder() / "examples" / example / "flow.xml");
    const std::string licenses = "/usr/share/common-licenses";
    const std::size_t at = text.find(licenses);
    if (at != std::string::npos) text.replace(at, licenses.size(), "$Backup/source");
    return text;
  }

  static void Furnish(const fs::path& folder, const std::string& example) {
    fs::create_directories(folder / "source");
    fs::create_directories(folder / "backup");
    for (const char* name : {"numbers-1.txt", "numbers-2.txt"}) WriteFile(folder / "source" / name, "1\n2\n3\n");
    const fs::path guest = SourceFolder() / "examples" / example / "guest.xml";
    if (fs::exists(guest)) fs::copy_file(guest, folder / "guest.xml");
  }

  Mutant Make(int number, std::mt19937& random) const {
    const std::string example = number % 3 == 2 ? "03_absorb" : "01_backup";
    const FlowMutant made = MutateFlow(TextOf(example), random);
    const std::string folder = File("mutant" + std::to_string(number));
    Furnish(folder, example);
    Mutant mutant{folder, (fs::path(folder) / "flow.xml").string(), made.mistake, {}};
    WriteFile(mutant.flow, made.text);
    return mutant;
  }

  static void Check(std::vector<Mutant>& mutants) {
    Arguments arguments = {"check", "--json"};
    for (const Mutant& mutant : mutants) arguments.push_back(mutant.flow);
    const Json json = Json::parse(Run(arguments).output);
    ASSERT_EQ(json["files"].size(), mutants.size());
    for (std::size_t i = 0; i < mutants.size(); ++i) {
      for (const Json& finding : json["files"][i]["findings"]) {
        if (finding["severity"] == "error") mutants[i].errors.push_back(finding["path"]);
        if (finding["severity"] == "warning") ++mutants[i].warnings;
      }
    }
  }

  // One that goes round for ever ends with the time.
  static ProcessResult Execute(const std::string& flow) {
    return Run({"run", "--force", "--fresh", "--timeout", "5", flow});
  }

  // The same run without what was called an error.
  static bool DoesNothing(const Mutant& mutant, const ProcessResult& forced) {
    if (forced.output.find("0 signals delivered") != std::string::npos) return true;
    const std::string flow = (fs::path(mutant.folder) / "without.xml").string();
    fs::copy_file(mutant.flow, flow);
    for (const std::string& path : mutant.errors) {
      if (!path.empty()) Run({"dict", "remove", "--force", flow, path});
    }
    const ProcessResult without = Execute(flow);
    const auto delivered = [](const ProcessResult& result) { return result.output.substr(0, result.output.find(',')); };
    return without.exit_code == 0 && delivered(without) == delivered(forced);
  }

  // What a run says of mistakes that stand in its file.
  static std::string KnowableFailureOf(const ProcessResult& result) {
    for (const char* words :
         {"there is no node of that name", "is not of the form TYPE", "it has to be a text", "; it takes ",
          "Could not load WorkNode", "does not declare", "is mapped and was never fired"}) {
      if (result.error.find(words) != std::string::npos) return words;
    }
    return {};
  }
};

TEST_F(FlowMutationTest, ACheckAndARunAgree) {
  for (const char* example : {"01_backup", "03_absorb"}) {
    const std::string folder = File(example);
    Furnish(folder, example);
    const std::string flow = (fs::path(folder) / "flow.xml").string();
    WriteFile(flow, TextOf(example));
    const ProcessResult result = Execute(flow);
    ASSERT_EQ(result.exit_code, 0) << example << result.output << result.error;
    ASSERT_EQ(result.output.find("0 signals delivered"), std::string::npos);
  }
  std::mt19937 random(20261122);
  std::vector<Mutant> mutants;
  for (int i = 0; i < HowMany(); ++i) mutants.push_back(Make(i, random));
  Check(mutants);
  std::size_t with_errors = 0;
  for (const Mutant& mutant : mutants) {
    const ProcessResult result = Execute(mutant.flow);
    if (mutant.errors.empty()) {
      const std::string failure = KnowableFailureOf(result);
      EXPECT_TRUE(failure.empty() || mutant.warnings > 0) << mutant.mistake << "\n" << result.output << result.error;
    } else {
      ++with_errors;
      EXPECT_TRUE(result.exit_code != 0 || DoesNothing(mutant, result)) << mutant.mistake << "\n"
                                                                        << result.output << result.error;
    }
  }
  EXPECT_GT(with_errors, mutants.size() / 6);
}

}  // namespace
}  // namespace orv_test
