// Files that the system does not let anybody look at: they are not missing, and not damaged.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

struct Refusal {
  const char* name;
  const char* kind;  // of the call that fails, each time
  int error;
  const char* words;  // without their first letter, which is a capital in some lines
};

class UnreadableTest : public FailureFixture, public ::testing::WithParamInterface<Refusal> {
 protected:
  // All such calls for files with that end fail.
  static ProcessResult RunWithout(const std::string& end, const Arguments& arguments) {
    return RunFailing({{"KIND", GetParam().kind},
                       {"ERROR", std::to_string(GetParam().error)},
                       {"PATH", end},
                       {"AT", "1"},
                       {"LASTS", "1"}},
                      arguments);
  }
  // The words of the system, and none of a damage or a new begin.
  static void ExpectRefused(const ProcessResult& result) {
    EXPECT_EQ(result.exit_code, 1) << result.error;
    EXPECT_NE(result.error.find(GetParam().words), std::string::npos) << result.error;
    EXPECT_NE(result.error.find("may be whole"), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find("--fresh"), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find("no such file"), std::string::npos) << result.error;
  }
  std::string WriteRestartingFlow() const {
    return WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=MarkingNode,M,mark"}}, {"MarkingNode", "M"}},
                     "Restarter,R,restart");
  }
};

TEST_P(UnreadableTest, AStateIsNotBegunAnew) {
  const std::string flow = WriteRestartingFlow();
  ASSERT_EQ(Run({"run", flow}).exit_code, 6);
  const std::string state = ReadFile(File("flow.state.xml"));
  ExpectRefused(RunWithout("flow.state.xml", {"run", flow}));
  EXPECT_EQ(ReadFile(File("flow.state.xml")), state);
  EXPECT_EQ(Run({"run", flow}).exit_code, 0);
}

TEST_P(UnreadableTest, WithoutALockTheRunKeepsNoState) {
  const std::string flow = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  const ProcessResult result = RunWithout("flow.state.xml.lock", {"run", flow});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_NE(result.error.find("no state can be kept there: "), std::string::npos) << result.error;
  EXPECT_NE(result.error.find(GetParam().words), std::string::npos) << result.error;
}

TEST_P(UnreadableTest, ADictionaryIsNotMadeAnew) {
  const std::string file = File("data.xml");
  ASSERT_EQ(Run({"dict", "set", file, "/Old", "str", "kept"}).exit_code, 0);
  const std::string before = ReadFile(file);
  const ProcessResult result = RunWithout("data.xml", {"dict", "set", file, "/New", "str", "value"});
  if (result.exit_code != 0) {
    ExpectRefused(result);
    EXPECT_EQ(ReadFile(file), before);
  }
  EXPECT_EQ(Run({"dict", "get", file, "/Old"}).output, "kept\n") << result.error;
}

TEST_P(UnreadableTest, AFlowIsNotMissing) {
  const std::string flow = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  const ProcessResult result = RunWithout("/flow.xml", {"run", flow});
  if (result.exit_code != 0) ExpectRefused(result);
}

INSTANTIATE_TEST_SUITE_P(Refusals, UnreadableTest,
                         ::testing::Values(Refusal{"StatFails", "stat", EIO, "nput/output error"},
                                           Refusal{"StatIsRefused", "stat", EACCES, "ermission denied"},
                                           Refusal{"OpenFails", "open", EIO, "nput/output error"},
                                           Refusal{"OpenIsRefused", "open", EACCES, "ermission denied"}),
                         [](const auto& refusal) { return std::string(refusal.param.name); });

}  // namespace
}  // namespace orv_test
