// The log of a run, its levels and its size; the categories of the trace.
#include <gtest/gtest.h>

#include "nlohmann/json.hpp"

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "orvflow/verbs/TraceCategories.h"
#include "orvflow/verbs/WatchOptions.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

class LogTest : public ProgramFixture {
 protected:
  // The lines without their times; durations as "T", numbers of the summary and saves left out.
  std::vector<std::string> LogLines() const {
    static constexpr std::size_t kTimeLength = sizeof("2026-11-21T03:45:31.123Z ") - 1;
    std::vector<std::string> lines;
    std::istringstream stream(ReadFile(log_));
    for (std::string line; std::getline(stream, line);) {
      line.erase(0, kTimeLength);
      const std::size_t comma = line.rfind(", ");
      if (line.ends_with(" ms")) line.replace(comma, std::string::npos, ", T");
      if (line == "run the state was saved") continue;
      if (line.starts_with("run ")) line.erase(line.rfind(": ") + 2);
      lines.push_back(line);
    }
    return lines;
  }

  std::string WriteChain() const {
    return WriteFlow({{"EchoNode", "A", "ProgramNodes", {"out=FailingNode,B,accept"}}, {"FailingNode", "B"}},
                     "EchoNode,A,go");
  }

  std::string log_ = File("run.log");
};

TEST_F(LogTest, HasALineForEachSignal) {
  const std::string flow = WriteChain();
  EXPECT_EQ(Run({"run", flow, "--log", log_}).exit_code, 0);
  EXPECT_EQ(LogLines(), (std::vector<std::string>{"run " + flow + ": ", "signal 1 start -> EchoNode A.go: true, T",
                                                  "signal 2 EchoNode A.out -> FailingNode B.accept: true, T",
                                                  "run " + flow + ": "}));
}

TEST_F(LogTest, ItsLinesMayBeJson) {
  const std::string flow = WriteChain();
  EXPECT_EQ(Run({"run", flow, "--log", log_, "--log-format=json"}).exit_code, 0);
  std::istringstream stream(ReadFile(log_));
  std::vector<nlohmann::json> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1]["category"], "signal");
  EXPECT_EQ(lines[1]["text"].get<std::string>().substr(0, 32), "1 start -> EchoNode A.go: true, ");
  EXPECT_EQ(lines[1]["time"].get<std::string>().size(), std::string("2026-11-21T03:45:31.123Z").size());
}

TEST_F(LogTest, IsAppendedTo) {
  WriteFile(log_, "an older line\n");
  const std::string flow = WriteChain();
  for (int run = 0; run < 2; ++run) EXPECT_EQ(Run({"run", flow, "--log", log_}).exit_code, 0);
  EXPECT_EQ(ReadFile(log_).substr(0, 14), "an older line\n");
  EXPECT_EQ(LogLines().size(), 1U + 4 + 4) << ReadFile(log_);
}

TEST_F(LogTest, TheLevelOfFailuresHasNoOtherSignals) {
  const std::string flow = WriteFlow(
      {{"EchoNode", "A", "ProgramNodes", {"out=FailingNode,B,throw"}}, {"FailingNode", "B"}}, "EchoNode,A,go");
  EXPECT_EQ(Run({"run", flow, "--log", log_, "--log-level", "failures"}).exit_code, 1);
  EXPECT_EQ(LogLines(),
            (std::vector<std::string>{
                "run " + flow + ": ", "failure 2 EchoNode A.out -> FailingNode B.throw: threw \"as told\", T",
                "message <FailingNode, B>::Signal(throw) threw an exception: as told", "run " + flow + ": "}));
}

TEST_F(LogTest, TheLevelOfTheTraceHasTheLinesOfTheLibraryToo) {
  const std::string flow = WriteChain();
  EXPECT_EQ(Run({"run", flow, "--log", log_, "--log-level", "trace"}).exit_code, 0);
  const std::string text = ReadFile(log_);
  for (const char* line : {"Z /workflow/signalmediator/Signal Firing input signal 'go' on <EchoNode, A>\n",
                           "Z signal 1 start -> EchoNode A.go: true, ", "done stoping all worknodes\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
}

TEST_F(LogTest, StaysWithinItsSize) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
  EXPECT_EQ(Run({"run", flow, "--set", "/Counting/Limit=60", "--log", log_, "--log-size", "2K"}).exit_code, 0);
  for (const char* old : {".1", ".2", ".3"}) {
    EXPECT_LE(ReadFile(log_ + old).size(), 2048U);
    EXPECT_GT(ReadFile(log_ + old).size(), 1024U);
  }
  EXPECT_LE(ReadFile(log_).size(), 2048U);
  EXPECT_FALSE(std::filesystem::exists(log_ + ".4"));
}

TEST_F(LogTest, ASizeIsANumberOfBytes) {
  using OrvWorkFlow::Program::ParseSize;
  EXPECT_EQ(ParseSize("1500"), 1500U);
  EXPECT_EQ(ParseSize("64K"), 65536U);
  EXPECT_EQ(ParseSize("10m"), 10U << 20);
  EXPECT_EQ(ParseSize("2G"), std::uint64_t{2} << 30);
  for (const char* text : {"", "K", "0", "-1", "1.5M", "1KB", "99999999999999999999", "17179869184G"}) {
    EXPECT_FALSE(ParseSize(text)) << text;
  }
}

TEST_F(LogTest, RefusesWhatItDoesNotKnowBeforeTheRun) {
  const std::string flow = WriteChain();
  const std::vector<std::pair<Arguments, std::string>> cases = {
      {{"--log", log_, "--log-level", "signal"},
       "run: --log-level signal: none of failures, signals, trace; did you mean signals?"},
      {{"--log-level", "signals"}, "run: --log-level needs --log FILE"},
      {{"--log-format", "json"}, "run: --log-format needs --log FILE"},
      {{"--log", log_, "--log-format", "jason"}, "run: --log-format jason: neither text nor json; did you mean json?"},
      {{"--log", log_, "--log-size", "big"}, "run: --log-size big: not a number of bytes, such as 500K or 10M"},
      {{"--progress=soon"}, "run: --progress=soon: not a number of seconds above 0"},
      {{"--trace=Signal"}, "run: --trace=Signal: no such category, see --trace=help; did you mean workflow/Signal?"},
      {{"--trace=workflow/signlpump"},
       "run: --trace=workflow/signlpump: no such category, see --trace=help; did you mean /workflow/signalpump?"},
      {{"--trace=queue"}, "run: --trace=queue: no such category, see --trace=help"}};
  for (const auto& [options, error] : cases) {
    Arguments arguments = {"run", flow};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_EQ(result.error, "orvflow: " + error + "\n");
    EXPECT_EQ(result.output, "");
  }
  EXPECT_FALSE(std::filesystem::exists(log_));
}

TEST_F(LogTest, TheCategoriesAreListed) {
  const ProcessResult result = Run({"run", "--trace=help"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("\nworkflow/IgnoredSingals\n    an output signal that nothing takes\n"),
            std::string::npos);
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 79U) << line;
}

// A category that the library gains has to be described.
TEST_F(LogTest, EveryCategoryOfTheLibraryIsKnown) {
  std::set<std::string> used;
  const std::regex category("\"(/?workflow/[A-Za-z_/]+)\"");
  for (const auto& file : std::filesystem::recursive_directory_iterator(SourceFolder() / "src")) {
    if (!file.is_regular_file()) continue;
    const std::string text = ReadFile(file.path());
    for (std::sregex_iterator match(text.begin(), text.end(), category), end; match != end; ++match) {
      used.insert((*match)[1]);
    }
  }
  std::set<std::string> listed;
  for (const auto& each : OrvWorkFlow::Program::TraceCategories()) listed.emplace(each.name);
  EXPECT_GT(used.size(), 15U);
  EXPECT_EQ(used, listed);
}

}  // namespace
}  // namespace orv_test
