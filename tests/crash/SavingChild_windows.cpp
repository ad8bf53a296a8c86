#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef NOGDI
#define NOGDI
#endif
#include <windows.h>

#include "tests/crash/SaveLoop.h"
#include "tests/crash/SavingChild.h"

namespace orv_test {

// A process cannot be forked here, and starting one takes a tenth of a second and more.
const int kKills = 40;

bool SaveAndDie(const std::string& file, std::int32_t first, std::chrono::microseconds life) {
  std::string command = std::string("\"") + ORVFLOW_SAVE_LOOP + "\" \"" + file + "\" " + std::to_string(first);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    return false;
  }
  CloseHandle(process.hThread);
  // Its first save tells that it has started.
  for (int wait = 0; wait < 1000 && NumberOfSaved(file).value_or(0) < first; ++wait) Sleep(10);
  Sleep(static_cast<DWORD>(life.count() / 1000));
  constexpr UINT kKilled = 77;
  DWORD code = 0;
  const bool killed = TerminateProcess(process.hProcess, kKilled) != FALSE &&
                      WaitForSingleObject(process.hProcess, 10'000) == WAIT_OBJECT_0 &&
                      GetExitCodeProcess(process.hProcess, &code) != FALSE && code == kKilled;
  CloseHandle(process.hProcess);
  return killed;
}

}  // namespace orv_test
