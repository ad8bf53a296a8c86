// The status line: the last line of the terminal that standard error is, rewritten in place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program {

// What a status line says, in the order in which it stands there. Where the terminal is too narrow, parts of the
// highest rank are left out first; parts of rank 0 stay, and the `flexible` one is shortened.
struct StatusPart {
  std::string text;  // visible: nothing in it moves a cursor
  unsigned rank = 0;
  bool flexible = false;
  bool alarming = false;           // shown in red where colours are wanted
  std::string_view before = ", ";  // between this part and the one in front of it
};

// The parts that fit into so many columns; with `colours`, alarming ones in red.
std::string FitStatus(std::vector<StatusPart> parts, std::size_t columns, bool colours);

// The one line of the process. Any thread. Other lines of the program go through WriteErrorText, so that they never
// mix.
namespace StatusLine {

// Draws the line in place of the one before, unless standard error is no terminal that can rewrite its last line, or
// one that takes nothing now: it was stopped with Ctrl-S.
void Show(const std::vector<StatusPart>& parts);

// Leaves the last line empty, with the cursor at its begin; from now on none is drawn.
void Finish();

// Erases the line that is shown: the process ends now. Waits for nothing; a signal handler may call it.
void EraseAtOnce() noexcept;

}  // namespace StatusLine

// Writes whole lines to standard error; a status line that is shown moves below them.
void WriteErrorText(std::string_view lines);

}  // namespace OrvWorkFlow::Program
