// What the program says to its user: exit codes and error lines.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

// The same on every platform; scripts rely on them.
enum class ExitCode : int {
  Done = 0,
  Failed = 1,             // also: not found, and a run that took too long
  Usage = 2,              // the command line
  CheckFailed = 3,        // a check found errors
  PluginBroken = 4,       // a plug-in library is missing, cannot be loaded or lacks a type
  DictionaryDamaged = 5,  // a file is no dictionary, no workflow or no state
  Resumable = 6,          // stopped, with the state saved
  InUse = 7,              // another process has the file
  Interrupted = 130,      // Ctrl-C
  Terminated = 143,       // SIGTERM, or the console was closed
};

// Ends the program with one error line and an exit code.
class ProgramError : public std::runtime_error {
 public:
  ProgramError(ExitCode code, const std::string& line) : std::runtime_error(line), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// An error in a file, at a path of the dictionary in it; an empty path is left out.
ProgramError FileError(ExitCode code, std::string_view file, std::string_view dictionary_path, std::string_view text);

// The text as a terminal may show it: what would move the cursor, colour, hide or turn text stands as "\x1b", "\u202e";
// so do bytes that are no UTF-8. All other text is as it was.
std::string Visible(std::string_view text);

// Writes "orvflow: LINE" to standard error. Line breaks within become blanks; what else is no text for a terminal is
// shown as Visible does. Any thread.
void PrintErrorLine(std::string_view line);
// The same with the program's name in a colour where the terminal shows colours and NO_COLOR does not forbid them.
enum class LineTone { Warning, Error };
void PrintFindingLine(std::string_view line, LineTone tone);

// What the program is about, for PrintOutOfMemory: "while ..." A literal.
void SetActivity(const char* words);
// Says that memory ran out and in which activity, without asking for memory. Any thread.
void PrintOutOfMemory();

}  // namespace OrvWorkFlow::Program
