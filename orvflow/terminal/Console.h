// What the program asks of the terminal that standard error, or standard output, may be.
#pragma once

#include <cstddef>
#include <cstdio>

namespace OrvWorkFlow::Program {

// True when standard error is a terminal that can rewrite its last line, and this process is the one that the user
// looks at: not in the background. Asked again before each line that is drawn.
bool CanRewriteLine();

// False when a write to standard error would wait: the terminal was stopped. A signal handler may call it.
bool TakesBytes() noexcept;

// How many characters a line of it holds; 80 when it does not say.
std::size_t ConsoleColumns();

// Whether it understands escape sequences (cursor, colours). Makes it understand them where that has to be asked for.
bool UnderstandsEscapes();

// Whether standard output, or standard error, is a terminal that shows colours. Makes it show them where that has to be
// asked for.
bool OutputShowsColours();
bool ErrorsShowColours();

// Writes the bytes, UTF-8, to standard error in one call. Fails silently: nobody could be told. A signal handler may
// call it.
void WriteToConsole(const char* bytes, std::size_t size) noexcept;

}  // namespace OrvWorkFlow::Program
