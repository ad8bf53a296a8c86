// A workflow that is stopped at any point between two signals, saved, and continued by fresh objects delivers the same
// signals in the same order as one that was never stopped, and ends in the same dictionary.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platforms/Stage.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

// The text of a saved dictionary with the reboot signals in alphabetical order: they are saved in the order in which
// their nodes were made, and a continued workflow makes its nodes when they get their first signal of that run.
std::string WithSortedRebootSignals(const std::string& text) {
  const std::size_t begin = text.find("<RebootSignals>");
  if (begin == std::string::npos) return text;
  const std::size_t end = text.find("</RebootSignals>");
  std::vector<std::string> lines;
  for (std::size_t at = begin; at < end;) {
    const std::size_t next = std::min(text.find('\n', at) + 1, end);
    const std::string line = text.substr(at, next - at);
    if (line.find("RebootSignal") == std::string::npos) lines.push_back(line);  // Those are only numbered.
    at = next;
  }
  std::sort(lines.begin(), lines.end());
  std::string sorted = text.substr(0, begin);
  for (const std::string& line : lines) sorted += line;
  return sorted + text.substr(end);
}

std::string ReadFinal(const std::filesystem::path& file) { return WithSortedRebootSignals(ReadFile(file)); }

class ResumeTest : public ::testing::TestWithParam<Host> {
 protected:
  std::filesystem::path In(const char* name) const { return directory_.path() / name; }

  TempDirectory directory_;
};

TEST_P(ResumeTest, IsExactAtEveryPoint) {
  std::size_t most_signals = 0;
  for (std::uint32_t seed = 1; seed <= 3; ++seed) {
    const RandomFlow flow(seed);
    flow.Write(directory_.path());
    const Performance whole = Perform(flow, GetParam(), In("top.xml"), In("whole.xml"));
    ASSERT_TRUE(whole.done);
    ASSERT_EQ(whole.trace, flow.ExpectedTrace()) << "seed " << seed;
    most_signals = std::max(most_signals, whole.trace.size());
    const std::string final_dictionary = ReadFinal(In("whole.xml"));
    for (std::size_t point = 0; point <= whole.trace.size(); ++point) {
      const Performance first = Perform(flow, GetParam(), In("top.xml"), In("state.xml"), point);
      ASSERT_TRUE(first.done);
      const bool exact = GetParam() == Host::kWithGuiThread || first.trace.size() == point;
      ASSERT_TRUE(exact) << "stopped after " << first.trace.size() << ", not " << point;
      const Performance second = Perform(flow, GetParam(), In("state.xml"), In("end.xml"));
      ASSERT_TRUE(second.done);
      std::vector<std::string> trace = first.trace;
      trace.insert(trace.end(), second.trace.begin(), second.trace.end());
      ASSERT_EQ(trace, whole.trace) << "seed " << seed << ", stopped after " << point;
      ASSERT_TRUE(ReadFinal(In("end.xml")) == final_dictionary) << "seed " << seed << ", stopped after " << point;
    }
  }
  EXPECT_GT(most_signals, 30u) << "too little to stop";
}

TEST_P(ResumeTest, IsExactWhenStoppedBehindEverySignalOfOneRun) {
  const RandomFlow flow(7);
  flow.Write(directory_.path());
  const std::vector<std::string> expected = flow.ExpectedTrace();
  std::filesystem::copy_file(In("top.xml"), In("state.xml"));
  std::vector<std::string> trace;
  while (trace.size() < expected.size()) {
    const Performance part = Perform(flow, GetParam(), In("state.xml"), In("state.xml"), 1);
    ASSERT_TRUE(part.done);
    ASSERT_FALSE(part.trace.empty());
    trace.insert(trace.end(), part.trace.begin(), part.trace.end());
  }
  EXPECT_EQ(trace, expected);
  const Performance rest = Perform(flow, GetParam(), In("state.xml"), In("end.xml"));
  EXPECT_TRUE(rest.done);
  EXPECT_EQ(rest.trace, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Hosts, ResumeTest, ::testing::Values(Host::kNone, Host::kWithGuiThread),
                         [](const auto& param_info) {
                           return param_info.param == Host::kNone ? "WithoutHostApplication" : "WithGuiThread";
                         });

}  // namespace
}  // namespace orv_test
