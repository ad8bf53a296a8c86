// No test case hangs the run: one that takes longer than it may ends its test program.
#pragma once

#include <chrono>

namespace orv_test {

// How long a case may take: ORVFLOW_CASE_SECONDS, or 300. That is many times what the longest needs, so it says nothing
// of speed.
std::chrono::seconds CaseLimit();

// How long all cases of a program may take: 1,200 s, which is less than CTest allows; or ORVFLOW_CASE_SECONDS if that
// is more.
std::chrono::seconds ProgramLimit();

// Watches each case of RUN_ALL_TESTS, which is to be called next. A case past its limit is reported as failed, in
// GoogleTest's words; the cases that were not run because of it are listed as "[ NOT RUN  ] Suite.Case", and the
// process ends with exit code 3, whatever its threads do. What was written to standard output before is there. On POSIX
// the process has no thread for this and must use neither alarm() nor SIGALRM.
void WatchCases();

// The platform's: StartTimer lets ReportHang be called, on any thread or in a signal handler, once the time is over,
// unless StopTimer comes first. WriteOut writes to standard output without a lock and without memory. EndNow ends the
// process.
void StartTimer(std::chrono::seconds limit);
void StopTimer();
void WriteOut(const char* text);
[[noreturn]] void EndNow(int exit_code);
[[noreturn]] void ReportHang();

}  // namespace orv_test
