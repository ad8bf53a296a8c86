// This program started once more, to do what might end it.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

struct TrialEnd {
  std::string output;  // what it reported
  // How it ended, in words that follow the name of who did it: "ends the process with exit code 3".
  std::string manner;
  // It had no memory, or could not read what to do: of what it was to try nothing is known.
  bool in_vain = false;
};

// Starts this program with one argument, gives it `input`, and returns when it has ended or, ended by force, when the
// time is over. It hears neither Ctrl-C nor what else this program's console says, and what it prints is lost, except
// for what it reports. `gives_up`, asked now and then, ends it too. Nothing when no process can be started.
std::optional<TrialEnd> RunTrialProcess(const char* argument, std::string_view input, std::chrono::milliseconds limit,
                                        const std::function<bool()>& gives_up);

// Starts one ahead, which loads while this process does other things; the next RunTrialProcess with that argument uses
// it. `work` is what a process with that argument does: it begins with BeginTrial and does not return. While this
// process has one thread it may be a copy of it, so it is to be called before anything is opened, loaded or read that
// the other one is not to have. Nothing is done where that does not pay. One thread. It ends with this process at the
// latest.
void PrepareTrialProcess(const char* argument, void (*work)()) noexcept;
// Ends one that was started ahead, if there is any.
void DropPreparedTrial() noexcept;
// RunTrialProcess returns as soon as a process has called EndTrial. This waits until the system has ended it, too,
// which it has begun by then.
void AwaitEndOfTrial() noexcept;

// In the process that was started: from now on standard input is empty and what is printed is lost; a fault ends the
// process without a question to the user and without a file that holds its memory. Ends it in vain when there is
// nothing to be read. The returned function reports.
std::function<void(std::string_view)> BeginTrial(std::string& input);

// These end this process at once: nothing that was registered for its end runs.
[[noreturn]] void EndTrial();
[[noreturn]] void EndTrialInVain();
// Of a process that was to try something; so no library's own.
constexpr int kInVainCode = 117;

}  // namespace OrvWorkFlow::Program
