// Memory that runs out once and system calls that fail once, anywhere in a run, in a continued one and in an edit of a
// dictionary file: it ends with a line and a code other than 0, or completes; no flow, state or dictionary is ever less
// than it was; nothing is left behind.
//
// ORVFLOW_FAILURES says how many calls of each kind are tried, spread over all of them; "all" tries each.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class OneFailureTest : public FailureFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  // The program with the failure, or with none for 0; `calls` becomes the number of calls of that kind.
  ProcessResult RunWith(long failure, const Arguments& arguments, long* calls = nullptr) const {
    const std::string count = File("count");
    const ProcessResult result =
        RunFailing({{"KIND", GetParam()}, {"AT", std::to_string(failure)}, {"COUNT", count}}, arguments);
    if (calls != nullptr) *calls = std::atol(ReadFile(count).c_str());
    fs::remove(count);
    return result;
  }

  // The calls to try, spread over `calls`. Other calls than those for memory are few.
  static std::vector<long> Sample(long calls, long usual) {
    const char* const text = std::getenv("ORVFLOW_FAILURES");
    const bool is_memory = std::string(GetParam()) == "memory";
    const long wanted = text == nullptr              ? (is_memory ? usual : 1)
                        : std::string(text) == "all" ? calls
                                                     : std::atol(text);
    const long count = std::min(wanted, calls);
    std::vector<long> sample;
    for (long i = 0; i < count; ++i) sample.push_back(1 + (2 * i + 1) * calls / (2 * count));
    return sample;
  }

  void ExpectOnly(const std::set<std::string>& names) const {
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_.path())) {
      EXPECT_EQ(names.count(entry.path().filename().string()), 1u) << entry.path();
    }
  }
  // An end that says what happened, or success.
  static void ExpectAnEnd(const ProcessResult& result) {
    EXPECT_LT(result.exit_code, 126) << result.error;
    EXPECT_EQ(result.error.find("Sanitizer"), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find("orvflow: std::"), std::string::npos)
        << "what was being done is not said: " << result.error;
    if (result.exit_code == 0) return;
    if (std::string(GetParam()) == "memory") {
      EXPECT_NE(result.exit_code, 4) << "no plug-in is broken: " << result.error;
    }
    EXPECT_EQ(result.error.substr(0, 9), "orvflow: ");
    EXPECT_TRUE(result.error.ends_with('\n')) << result.error;
  }
  static std::string Describe(long failure, const ProcessResult& result) {
    return std::string(GetParam()) + " " + std::to_string(failure) + ": " + std::to_string(result.exit_code) + " " +
           result.error;
  }
};

class OneFailureOfARunTest : public OneFailureTest {
 protected:
  static constexpr int kLimit = 4;
  static constexpr long kUsual = 4;

  // A restart first; then A counts to the limit, and B what A tells it. Both write what they do to a file.
  void SetUp() override {
    flow_ = WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}},
                       {"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                       {"MarkingNode", "B"}},
                      "Restarter,R,restart");
    state_ = File("flow.state.xml");
    flow_text_ = ReadFile(flow_);
  }

  Arguments RunArguments() const {
    return {"run",   flow_,
            "--set", "/Counting/Log=" + File("numbers.txt"),
            "--set", "/Counting/Limit=" + std::to_string(kLimit)};
  }

  // True when both nodes have seen every number up to the limit.
  bool IsComplete() const {
    std::set<std::string> seen;
    std::istringstream lines(ReadFile(File("numbers.txt")));
    for (std::string line; std::getline(lines, line);) seen.insert(line);
    for (int i = 1; i <= kLimit; ++i) {
      for (const char letter : {'A', 'B'}) {
        if (seen.count(letter + std::to_string(i)) == 0) return false;
      }
    }
    return true;
  }
  // A run that failed may leave its record: the next one goes on from it.
  void ExpectNothingLeft(const ProcessResult& result) const {
    std::set<std::string> names = {"flow.xml", "flow.state.xml", "numbers.txt"};
    if (result.exit_code == 1) names.insert("flow.state.xml.record");
    ExpectOnly(names);
    EXPECT_EQ(ReadFile(flow_), flow_text_);
  }
  // What the failing run could not finish is done by those that continue it.
  void ExpectTheRest() const {
    for (int i = 0; i < 3 && !IsComplete(); ++i) {
      Arguments arguments = RunArguments();
      if (fs::exists(state_)) arguments.emplace_back("--retry");  // What failed for lack of memory is in the state.
      Run(arguments);
    }
    EXPECT_TRUE(IsComplete()) << ReadFile(File("numbers.txt"));
    fs::remove(File("flow.state.xml.record"));  // Of a run that did all and could not say so.
  }

  std::string flow_;
  std::string state_;
  std::string flow_text_;
};

TEST_P(OneFailureOfARunTest, AFirstRunEndsOrCompletes) {
  long calls = 0;
  EXPECT_EQ(RunWith(0, RunArguments(), &calls).exit_code, 6);
  ASSERT_TRUE(fs::exists(state_));
  for (const long failure : Sample(calls, kUsual)) {
    fs::remove(state_);
    fs::remove(File("numbers.txt"));
    const ProcessResult result = RunWith(failure, RunArguments());
    SCOPED_TRACE(Describe(failure, result));
    ExpectAnEnd(result);
    EXPECT_NE(result.exit_code, 0) << "the workflow asks for a restart";
    ExpectNothingLeft(result);
    ExpectTheRest();
  }
}

TEST_P(OneFailureOfARunTest, AContinuedRunLosesNothing) {
  ASSERT_EQ(Run(RunArguments()).exit_code, 6);
  const std::string state = ReadFile(state_);
  long calls = 0;
  EXPECT_EQ(RunWith(0, RunArguments(), &calls).exit_code, 0);
  for (const long failure : Sample(calls, kUsual)) {
    WriteFile(state_, state);
    fs::remove(File("numbers.txt"));
    const ProcessResult result = RunWith(failure, RunArguments());
    SCOPED_TRACE(Describe(failure, result));
    ExpectAnEnd(result);
    ExpectNothingLeft(result);
    if (result.exit_code == 0) {
      EXPECT_TRUE(IsComplete());
    } else {
      EXPECT_TRUE(fs::exists(state_) || IsComplete());
    }
    if (fs::exists(state_)) ExpectTheRest();
  }
}

class OneFailureOfDictTest : public OneFailureTest {
 protected:
  static constexpr long kUsual = 12;

  void SetUp() override { WriteFile(File("key"), "a key"); }

  // The file is as it was, or has the new value.
  void SetWithEachFailure(const Arguments& options) {
    const std::string file = File("data.xml");
    const auto command = [&](Arguments words) {
      words.insert(words.begin(), "dict");
      words.insert(words.end(), options.begin(), options.end());
      return words;
    };
    ASSERT_EQ(Run(command({"set", file, "/Old", "str", "kept"})).exit_code, 0);
    const std::string before = ReadFile(file);
    const Arguments set = command({"set", file, "/New", "str", "value"});
    long calls = 0;
    ASSERT_EQ(RunWith(0, set, &calls).exit_code, 0);
    const std::string after = ReadFile(file);
    for (const long failure : Sample(calls, kUsual)) {
      WriteFile(file, before);
      const ProcessResult result = RunWith(failure, set);
      SCOPED_TRACE(Describe(failure, result));
      ExpectAnEnd(result);
      ExpectOnly({"data.xml", "key"});
      const std::string now = ReadFile(file);
      EXPECT_TRUE(now == after || (result.exit_code != 0 && now == before)) << now;
    }
  }
};

TEST_P(OneFailureOfDictTest, AnEditIsWholeOrNone) { SetWithEachFailure({}); }
TEST_P(OneFailureOfDictTest, AnEditUnderAKeyIsWholeOrNone) { SetWithEachFailure({"--key-file", File("key")}); }

std::string NameOfKind(const ::testing::TestParamInfo<const char*>& kind) { return kind.param; }
const auto kKinds =
    ::testing::Values("memory", "open", "read", "write", "fsync", "flock", "rename", "unlink", "stat", "close", "mmap");
INSTANTIATE_TEST_SUITE_P(Kinds, OneFailureOfARunTest, kKinds, NameOfKind);
INSTANTIATE_TEST_SUITE_P(Kinds, OneFailureOfDictTest, kKinds, NameOfKind);

}  // namespace
}  // namespace orv_test
