// A program started by a test, its output kept in files.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/TempDirectory.h"

namespace orv_test {

// Texts have "\n" line ends on every platform, where nothing else is said.
struct ProcessResult {
  int exit_code = -1;
  std::string output;
  std::string error;
  std::string raw_output = {};  // byte for byte
};

class ChildProcess {
 public:
  // Starts the program with UTF-8 arguments and these bytes as its standard input; throws when that fails.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments, std::string_view input = {});
  // Ends the program if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // As Ctrl-C does. False when that failed.
  bool Interrupt();

  // A way in which a user or the system asks a program to end, and the words in which orvflow speaks of it.
  struct Ending {
    const char* words;
    bool (ChildProcess::*send)();
  };
  // All that this system has.
  static std::vector<Ending> Endings();

  // What was written to standard error so far.
  std::string ErrorSoFar() const;
  // Waits until standard error holds the text; false after half a minute.
  bool WaitForError(const std::string& text) const;

  // Waits for the end; a program that takes longer than a minute is ended. The exit code of a program that a signal
  // ended is 128 plus the signal's number.
  ProcessResult Wait();

 private:
  bool Terminate();  // As the command `kill` does, or the closing of the console.
  bool Break();      // As Ctrl-Break does, where there is one.
  bool HangUp();     // As a terminal that goes away does, where there are signals.

  struct System;  // What the platform knows of the process.

  TempDirectory directory_;
  std::unique_ptr<System> system_;
};

// Runs a program to its end.
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         std::string_view input = {});

// `text` with "\n" in place of "\r\n".
std::string WithPlainLineEnds(const std::string& text);

}  // namespace orv_test
