#include "tests/support/CaseLimit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace orv_test {
namespace {

using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

class CaseWatch : public ::testing::EmptyTestEventListener {
 public:
  Clock::time_point case_begin() const { return case_begin_; }

 private:
  void OnTestStart(const ::testing::TestInfo& /*test*/) override {
    case_begin_ = Clock::now();
    const auto left = std::chrono::duration_cast<seconds>(begin_ + ProgramLimit() - case_begin_);
    StartTimer(std::clamp(left, seconds(1), CaseLimit()));
  }
  void OnTestEnd(const ::testing::TestInfo& /*test*/) override { StopTimer(); }

  const Clock::time_point begin_ = Clock::now();
  Clock::time_point case_begin_;
};

CaseWatch* g_watch = nullptr;

void WriteLine(const char* tag, const ::testing::TestInfo& test, const char* rest) {
  for (const char* text : {tag, test.test_suite_name(), ".", test.name(), rest}) WriteOut(text);
}

}  // namespace

seconds CaseLimit() {
  static const int limit = [] {
    const char* const text = std::getenv("ORVFLOW_CASE_SECONDS");
    int value = 0;
    if (text != nullptr) std::from_chars(text, text + std::strlen(text), value);
    return value > 0 ? value : 300;
  }();
  return seconds(limit);
}

seconds ProgramLimit() { return std::max(seconds(1200), CaseLimit()); }

void WatchCases() {
  CaseLimit();              // Read now: the handler of a signal is no place for it.
  g_watch = new CaseWatch;  // GoogleTest owns it.
  ::testing::UnitTest::GetInstance()->listeners().Append(g_watch);
}

void ReportHang() {
  const ::testing::UnitTest& all = *::testing::UnitTest::GetInstance();
  const ::testing::TestInfo* const current = all.current_test_info();
  if (current == nullptr) EndNow(3);  // It has just ended.
  std::array<char, 32> milliseconds = {};
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - g_watch->case_begin());
  std::to_chars(milliseconds.data(), milliseconds.data() + milliseconds.size() - 1, time.count());
  WriteOut("\nA case has not ended in time (ORVFLOW_CASE_SECONDS). The test program ends here.\n");
  WriteLine("[  FAILED  ] ", *current, " (");
  WriteOut(milliseconds.data());
  WriteOut(" ms)\n");
  bool is_behind = false;
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const ::testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int j = 0; j < suite.total_test_count(); ++j) {
      const ::testing::TestInfo& test = *suite.GetTestInfo(j);
      if (is_behind && test.should_run()) WriteLine("[ NOT RUN  ] ", test, "\n");
      is_behind = is_behind || &test == current;
    }
  }
  EndNow(3);
}

}  // namespace orv_test
