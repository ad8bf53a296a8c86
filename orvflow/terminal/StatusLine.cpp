#include "orvflow/terminal/StatusLine.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "base/lock/Mutex.h"
#include "orvflow/terminal/Console.h"
#include "orvflow/terminal/ScreenText.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kRed[] = "\x1b[31m";
constexpr char kPlain[] = "\x1b[0m";
// The shortened part keeps as many columns as long as others can be left out, and so many at all: less of it says
// nothing.
constexpr std::size_t kLeastOfAName = 12;
constexpr std::size_t kShortestName = 5;

std::size_t ColumnsOfAll(const std::vector<StatusPart>& parts) {
  std::size_t columns = 0;
  for (const StatusPart& part : parts) columns += (columns > 0 ? part.before.size() : 0) + ColumnsOf(part.text);
  return columns;
}

// False when there is none left that may go.
bool DropLeastImportant(std::vector<StatusPart>& parts) {
  const auto last = std::max_element(
      parts.begin(), parts.end(), [](const StatusPart& one, const StatusPart& other) { return one.rank < other.rank; });
  if (last == parts.end() || last->rank == 0) return false;
  parts.erase(last);
  return true;
}

// Shortens the flexible part until all fit, but not below `least`. True when they fit.
bool ShortenName(std::vector<StatusPart>& parts, std::size_t columns, std::size_t least) {
  const std::size_t all = ColumnsOfAll(parts);
  if (all <= columns) return true;
  const auto name = std::find_if(parts.begin(), parts.end(), [](const StatusPart& part) { return part.flexible; });
  if (name == parts.end()) return false;
  const std::size_t own = ColumnsOf(name->text);
  const std::size_t excess = all - columns;
  if (own < excess + least) return false;
  name->text = ShortenedTo(own - excess, name->text);
  return true;
}

// Where there is no room for the flexible part: first without the one behind it, which belongs to it, then without it.
void ShortenOrDropName(std::vector<StatusPart>& parts, std::size_t columns) {
  const auto name = std::find_if(parts.begin(), parts.end(), [](const StatusPart& part) { return part.flexible; });
  if (name == parts.end() || ShortenName(parts, columns, kShortestName)) return;
  if (name + 1 != parts.end()) parts.erase(name + 1);
  if (!ShortenName(parts, columns, kShortestName)) parts.erase(name);
}

// What is on the screen. Leaked, so that threads may still write while the process ends.
struct Screen {
  Base::Mutex mutex;                              // A leaf.
  std::string line ORV_GUARDED_BY(mutex);         // "" when no line is shown
  std::size_t columns ORV_GUARDED_BY(mutex) = 0;  // that it needs
  bool is_finished ORV_GUARDED_BY(mutex) = false;
};

// Whether one is shown, for who cannot wait for the mutex.
std::atomic<bool> is_line_shown = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch what never locks");

Screen& TheScreen() {
  static Screen* const screen = new Screen;
  return *screen;
}

bool WantsColours() {
  const char* const no_colour = std::getenv("NO_COLOR");
  return (no_colour == nullptr || *no_colour == '\0') && UnderstandsEscapes();
}

// What removes the line that is shown. A terminal that has become narrower may have broken it into several.
std::string Erasure(const Screen& screen, std::size_t columns) ORV_REQUIRES(screen.mutex) {
  if (!UnderstandsEscapes()) return "\r" + std::string(screen.columns, ' ') + "\r";
  const std::size_t rows = screen.columns == 0 ? 0 : (screen.columns - 1) / columns;
  std::string erasure = "\r";
  if (rows > 0) erasure += "\x1b[" + std::to_string(rows) + "A";
  return erasure + "\x1b[J";
}

void Put(const std::string& text) { WriteToConsole(text.data(), text.size()); }

}  // namespace

std::string FitStatus(std::vector<StatusPart> parts, std::size_t columns, bool colours) {
  while (!ShortenName(parts, columns, kLeastOfAName) && DropLeastImportant(parts)) {
  }
  ShortenOrDropName(parts, columns);
  std::string line;
  for (const StatusPart& part : parts) {
    if (!line.empty()) line += part.before;
    const bool red = colours && part.alarming;
    line += red ? kRed + part.text + kPlain : part.text;
  }
  // Nothing is left that could be left out.
  return ColumnsOfAll(parts) <= columns ? line : ShortenedTo(columns, parts.front().text);
}

void StatusLine::Show(const std::vector<StatusPart>& parts) {
  Screen& screen = TheScreen();
  const Base::Hold lock(screen.mutex);
  if (screen.is_finished || !CanRewriteLine() || !TakesBytes()) return;
  const std::size_t columns = ConsoleColumns();
  // The last column stays free: some terminals begin a new line with it.
  const std::size_t room = std::max<std::size_t>(columns, 2) - 1;
  std::string text = screen.line.empty() ? "" : Erasure(screen, columns);
  screen.line = FitStatus(parts, room, WantsColours());
  screen.columns = std::min(room, ColumnsOf(FitStatus(parts, room, false)));
  is_line_shown = true;
  Put(text + screen.line);
}

void StatusLine::Finish() {
  Screen& screen = TheScreen();
  const Base::Hold lock(screen.mutex);
  screen.is_finished = true;
  if (screen.line.empty()) return;
  is_line_shown = false;
  if (CanRewriteLine() && TakesBytes()) Put(Erasure(screen, ConsoleColumns()));
  screen.line.clear();
}

void StatusLine::EraseAtOnce() noexcept {
  static constexpr char kErasure[] = "\r\x1b[J";
  if (is_line_shown && TakesBytes()) WriteToConsole(kErasure, sizeof kErasure - 1);
}

void WriteErrorText(std::string_view lines) {
  Screen& screen = TheScreen();
  const Base::Hold lock(screen.mutex);
  const bool is_shown = !screen.line.empty() && CanRewriteLine();
  if (is_shown) Put(Erasure(screen, ConsoleColumns()));
  std::fwrite(lines.data(), 1, lines.size(), stderr);  // One call, so that lines of several threads stay whole.
  std::fflush(stderr);
  if (is_shown) Put(screen.line);
}

}  // namespace OrvWorkFlow::Program
