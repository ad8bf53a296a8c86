// Every flow of tests/cases/flows has one mistake, and beside it, in NAME.expected, what is to be found: a line for
// each finding, "severity path: what; remedy". In the folder "together" NAME.xml takes in NAME.guest.xml, and then
// NAME.guest2.xml where there is one; what is found in these has "guest: " or "guest2: " before it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "flow/check/Check.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Flow {
namespace {

std::filesystem::path Folder() { return orv_test::SourceFolder() / "tests" / "cases" / "flows"; }

std::vector<std::string> CaseNames(const std::filesystem::path& folder = Folder()) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().stem().string();
    if (entry.path().extension() == ".xml" && name.find('.') == std::string::npos) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};
using DictionaryPointer = std::unique_ptr<IDictionary, Releaser>;

DictionaryPointer Load(const std::filesystem::path& file) {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject("Dictionary");
  DictionaryPointer dictionary(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
  EXPECT_TRUE(dictionary->LoadFile(file.string().c_str())) << file;
  return dictionary;
}

CheckOptions Options(const std::filesystem::path& file = {}) {
  CheckOptions options;
  options.file = file.string();
  options.load_library = [](const std::string& library, std::string& reason) {
    if (WorkFlowFactory::LoadSharedLibrary(library.c_str())) return true;
    reason = WorkFlowFactory::LastLoadError();
    return false;
  };
  return options;
}

std::string LinesOf(const Findings& findings) {
  static constexpr const char* kSeverities[] = {"error", "warning", "note"};
  std::string lines;
  for (const Finding& finding : findings) {
    lines += std::string(kSeverities[static_cast<int>(finding.severity)]) + " " + finding.path + ": " + finding.what;
    if (!finding.remedy.empty()) lines += "; " + finding.remedy;
    lines += "\n";
  }
  return lines;
}

std::vector<std::string> SortedLines(const std::string& text, const std::string& before = "") {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(before + line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

class FlowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("CoreObjects")) << WorkFlowFactory::LastLoadError();
    ASSERT_NE(WorkFlowFactory::CreateNewGlobalObject("FileSystem"), nullptr);
  }
  void TearDown() override {
    WorkFlowFactory::ReleaseGlobalObjects();
    WorkFlowFactory::UnloadSharedLibraries();
  }
};

class BrokenFlowsTest : public FlowTest, public ::testing::WithParamInterface<std::string> {};

std::string TestName(const ::testing::TestParamInfo<std::string>& test) {
  std::string name = test.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

TEST_P(BrokenFlowsTest, IsFound) {
  const std::filesystem::path file = Folder() / (GetParam() + ".xml");
  const std::string found = LinesOf(Check(*Load(file), Options(file)));
  EXPECT_EQ(SortedLines(found), SortedLines(orv_test::ReadFile(Folder() / (GetParam() + ".expected"))));
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenFlowsTest, ::testing::ValuesIn(CaseNames()), TestName);

class FlowsTogetherTest : public BrokenFlowsTest {};

TEST_P(FlowsTogetherTest, IsFound) {
  const std::filesystem::path folder = Folder() / "together";
  std::vector<FlowBeside> company;
  for (const char* role : {"", ".guest", ".guest2"}) {
    const std::filesystem::path file = folder / (GetParam() + role + ".xml");
    if (!std::filesystem::exists(file)) continue;
    company.push_back({ReadWorkflow(*Load(file)), file.filename().string(), file.string(), *role != '\0'});
  }
  ASSERT_GT(company.size(), 1u);
  std::vector<std::string> found;
  for (std::size_t i = 0; i < company.size(); ++i) {
    CheckOptions options = Options(company[i].file);
    options.takes_in_others = i == 0;
    options.is_guest = i > 0;
    options.beside = WithoutOne(company, i);
    const char* const before = i == 0 ? "" : i == 1 ? "guest: " : "guest2: ";
    const std::vector<std::string> lines = SortedLines(LinesOf(Check(*Load(company[i].file), options)), before);
    found.insert(found.end(), lines.begin(), lines.end());
  }
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, SortedLines(orv_test::ReadFile(folder / (GetParam() + ".expected"))));
}

INSTANTIATE_TEST_SUITE_P(Cases, FlowsTogetherTest, ::testing::ValuesIn(CaseNames(Folder() / "together")), TestName);

TEST_F(FlowTest, TheExamplesAreClean) {
  for (const char* name : {"01_backup/flow.xml", "02_interrupted/flow.xml", "03_absorb/flow.xml"}) {
    const std::filesystem::path file = orv_test::SourceFolder() / "examples" / name;
    EXPECT_EQ(LinesOf(Check(*Load(file), Options(file))), "") << file;
  }
  const std::filesystem::path guest = orv_test::SourceFolder() / "examples/03_absorb/guest.xml";
  CheckOptions options = Options(guest);
  options.is_guest = true;
  EXPECT_EQ(LinesOf(Check(*Load(guest), options)), "");
}

TEST_F(FlowTest, WhatAnotherFlowMayBringIsAWarning) {
  const DictionaryPointer flow = Load(Folder() / "receiver-type-missing.xml");
  EXPECT_TRUE(HasErrors(Check(*flow, Options())));
  CheckOptions absorbing = Options();
  absorbing.takes_in_others = true;
  EXPECT_FALSE(HasErrors(Check(*flow, absorbing)));
  CheckOptions guest = Options();
  guest.is_guest = true;
  EXPECT_FALSE(HasErrors(Check(*flow, guest)));
}

TEST_F(FlowTest, ASavedStateGoesOnWithItsMistakes) {
  CheckOptions continued = Options();
  continued.is_continued = true;
  EXPECT_TRUE(HasErrors(Check(*Load(Folder() / "library-of-others.xml"), continued)));
  for (const char* name : {"mapping-empty", "nothing-to-begin-with", "parameter-word-for-a-boolean"}) {
    const Findings findings = Check(*Load(Folder() / (std::string(name) + ".xml")), continued);
    EXPECT_FALSE(HasErrors(findings)) << name;
  }
}

TEST_F(FlowTest, ACheckOnlyReads) {
  for (const std::string& name : CaseNames()) {
    const DictionaryPointer flow = Load(Folder() / (name + ".xml"));
    const std::uint64_t before = flow->GetChangeCount();
    Check(*flow, Options());
    EXPECT_EQ(flow->GetChangeCount(), before) << name;
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Flow
