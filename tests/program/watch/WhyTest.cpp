// orvflow why: the causes of a delivery, and the reasons why a node did not run.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include "nlohmann/json.hpp"
#include "tests/program/support/RecordedRunFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

class WhyTest : public RecordedRunFixture {
 protected:
  ProcessResult Why(const std::string& what, const Arguments& more = {}) const {
    Arguments arguments = {"why", Record(), what};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

TEST_F(WhyTest, TheWayBackIsThatOfTheRecord) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                 {"MarkingNode", "B"}},
                "CountingNode,A,go");
  ASSERT_EQ(RunRecorded(flow, {"--set", "/Counting/Limit=8"}).exit_code, 0);
  std::map<int, int> causes;
  std::istringstream lines(Run({"history", Record(), "--json"}).output);
  for (std::string line; std::getline(lines, line);) {
    const Json event = Json::parse(line);
    if (event["event"] != "delivery") continue;
    causes[event["number"].get<int>()] = event["cause"].is_null() ? 0 : event["cause"].get<int>();
  }
  ASSERT_EQ(causes.size(), 16u);
  for (const auto& [number, cause] : causes) {
    std::vector<int> expected;
    for (int at = number; at != 0; at = causes[at]) expected.push_back(at);
    const ProcessResult why = Why(std::to_string(number));
    EXPECT_EQ(why.exit_code, 0) << why.error;
    std::vector<int> shown;
    std::istringstream way(why.output);
    for (std::string line; std::getline(way, line);) shown.push_back(std::atoi(line.c_str()));
    EXPECT_EQ(shown, expected);
  }
  EXPECT_THAT(Why("B").output, StartsWith("B ran 8 times; the last, and what led to it:\n"));
  EXPECT_THAT(Why("A.go").output, HasSubstr("<- the beginning"));
}

TEST_F(WhyTest, ALongWayIsCutInItsMiddle) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                 {"MarkingNode", "B"}},
                "CountingNode,A,go");
  ASSERT_EQ(RunRecorded(flow, {"--set", "/Counting/Limit=40"}).exit_code, 0);
  const std::string output = Why("A").output;
  EXPECT_THAT(output, HasSubstr("    ... 16 more\n"));
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1 + 24 + 1);
}

TEST_F(WhyTest, WhatDidNotRunIsExplainedByItsSenders) {
  const std::string flow = WriteFlow({{"EchoNode", "E", "ProgramNodes", {"out=EchoNode,F,go", "never=EchoNode,G,go"}},
                                      {"EchoNode", "F", "ProgramNodes", {"out=EchoNode,"}},
                                      {"EchoNode", "G", "ProgramNodes", {"out=EchoNode,H,go"}},
                                      {"EchoNode", "H"},
                                      {"EchoNode", "Alone"}},
                                     "EchoNode,E,go");
  RunRecorded(flow, {"--force"});
  EXPECT_EQ(Why("G").output, "G did not run:\n  never of E leads to it: E ran 1 time, and fired out 1 time instead\n");
  EXPECT_EQ(Why("H").output,
            "H did not run:\n  out of G leads to it: G did not run\n"
            "    never of E leads to it: E ran 1 time, and fired out 1 time instead\n");
  EXPECT_EQ(Why("Alone").output, "Alone did not run:\n  nothing leads to it\n");
  EXPECT_EQ(Why("E.stop").output, "E.stop did not run:\n  nothing leads to it\n");
  const ProcessResult unknown = Why("Alonne");
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_THAT(unknown.error, HasSubstr("no instance Alonne; did you mean Alone?"));
}

TEST_F(WhyTest, NodesThatWaitForEachOtherEndTheExplanation) {
  const std::string flow = WriteFlow({{"EchoNode", "E"},
                                      {"EchoNode", "F", "ProgramNodes", {"out=EchoNode,G,go"}},
                                      {"EchoNode", "G", "ProgramNodes", {"out=EchoNode,F,go"}}},
                                     "EchoNode,E,go");
  RunRecorded(flow);
  const ProcessResult why = Why("F");
  EXPECT_EQ(why.exit_code, 0);
  EXPECT_THAT(why.output, HasSubstr("out of G leads to it: G did not run\n    out of F leads to it: F did not run\n"));
}

TEST_F(WhyTest, WhatCannotBeToldIsSaid) {
  const std::string flow = WriteFlow({{"EchoNode", "E"}, {"EchoNode", "F"}}, "EchoNode,E,go");
  RunRecorded(flow);
  EXPECT_EQ(Why("99").exit_code, 1);
  EXPECT_THAT(Why("99").error, HasSubstr("run 1 has no delivery 99"));
  EXPECT_THAT(Why("E", {"--run", "2"}).error, HasSubstr("holds no run 2"));
  EXPECT_EQ(Run({"why", Record()}).exit_code, 2);
  EXPECT_EQ(Run({"why", flow, "E"}).exit_code, 5);
  std::filesystem::rename(flow, File("moved.xml"));
  EXPECT_EQ(Why("E").exit_code, 0);
  const ProcessResult gone = Why("F");
  EXPECT_EQ(gone.exit_code, 1);
  EXPECT_THAT(gone.error, HasSubstr("is not there any more; name it with --flow"));
  EXPECT_EQ(Why("F", {"--flow", File("moved.xml")}).output, "F did not run:\n  nothing leads to it\n");
}

}  // namespace
}  // namespace orv_test
