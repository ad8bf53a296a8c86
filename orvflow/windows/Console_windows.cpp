#include "base/windows/WindowsApi.h"

#include <cstdlib>
#include <string_view>

#include "orvflow/terminal/Console.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr DWORD kEscapes = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack.

HANDLE ErrorHandle() { return GetStdHandle(STD_ERROR_HANDLE); }

bool IsDumb() {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::string_view(terminal) == "dumb";
}

bool TakesEscapes(HANDLE console) {
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode) == 0) return false;
  return (mode & kEscapes) != 0 || SetConsoleMode(console, mode | kEscapes) != 0;
}

}  // namespace

bool CanRewriteLine() {
  if (IsDumb()) return false;
  DWORD mode = 0;
  return GetConsoleMode(ErrorHandle(), &mode) != 0;
}

// A console whose text is being selected takes nothing, and does not say so.
bool TakesBytes() noexcept { return true; }

std::size_t ConsoleColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (GetConsoleScreenBufferInfo(ErrorHandle(), &info) == 0) return 80;
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? static_cast<std::size_t>(columns) : 80;
}

bool UnderstandsEscapes() { return TakesEscapes(ErrorHandle()); }

bool OutputShowsColours() { return !IsDumb() && TakesEscapes(GetStdHandle(STD_OUTPUT_HANDLE)); }
bool ErrorsShowColours() { return !IsDumb() && TakesEscapes(ErrorHandle()); }

void WriteToConsole(const char* bytes, std::size_t size) noexcept {
  constexpr int kMost = 4096;
  wchar_t wide[kMost];
  DWORD done = 0;
  const int length = MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(size), wide, kMost);
  if (length > 0) WriteConsoleW(ErrorHandle(), wide, static_cast<DWORD>(length), &done, nullptr);
}

}  // namespace OrvWorkFlow::Program
