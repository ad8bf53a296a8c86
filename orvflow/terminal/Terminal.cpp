#include "orvflow/terminal/Terminal.h"

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "base/text/Utf8.h"
#include "orvflow/terminal/Colours.h"
#include "orvflow/terminal/LastResort.h"
#include "orvflow/terminal/StatusLine.h"

namespace OrvWorkFlow::Program {

namespace {

std::atomic<const char*> activity = "at the start";

constexpr char32_t kNone = 0xFFFFFFFF;

// The character that begins there and its length in bytes; kNone for what is no UTF-8.
char32_t CharacterAt(std::string_view text, std::size_t& length) {
  std::string_view rest = text;
  char32_t character;
  const bool is_utf8 = Base::TakeCharacter(rest, character);
  length = is_utf8 ? text.size() - rest.size() : 1;
  return is_utf8 ? character : kNone;
}

// Control characters, and those that change the direction of what follows.
bool IsHarmless(char32_t character) {
  const bool is_control = character < 0x20 || (character >= 0x7F && character < 0xA0);
  const bool turns = character == 0x200E || character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
                     (character >= 0x2066 && character <= 0x2069);
  return !is_control && !turns;
}

void AppendHex(std::string& text, char32_t value, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) text.push_back("0123456789abcdef"[(value >> shift) & 0xF]);
}

}  // namespace

std::string Visible(std::string_view text) {
  std::string visible;
  for (std::size_t length = 0; !text.empty(); text.remove_prefix(length)) {
    const char32_t character = CharacterAt(text, length);
    if (character == kNone || (character < 0xA0 && !IsHarmless(character))) {
      visible += "\\x";
      AppendHex(visible, character == kNone ? static_cast<unsigned char>(text[0]) : character, 2);
    } else if (!IsHarmless(character)) {
      visible += "\\u";
      AppendHex(visible, character, 4);
    } else {
      visible += text.substr(0, length);
    }
  }
  return visible;
}

ProgramError FileError(ExitCode code, std::string_view file, std::string_view dictionary_path, std::string_view text) {
  std::string line(file);
  if (!dictionary_path.empty()) line.append(": ").append(dictionary_path);
  line.append(": ").append(text);
  return ProgramError(code, line);
}

namespace {

// On one line, as a terminal may show it.
std::string OneLine(std::string_view line) {
  std::string text;
  bool break_pending = false;
  for (const char character : line) {
    if (character == '\r' || character == '\n') {
      break_pending = true;
      continue;
    }
    if (break_pending) text.push_back(' ');
    break_pending = false;
    text.push_back(character);
  }
  return Visible(text);
}

}  // namespace

void PrintErrorLine(std::string_view line) { WriteErrorText("orvflow: " + OneLine(line) + "\n"); }

void PrintFindingLine(std::string_view line, LineTone tone) {
  const Colours colours = Colours::ForErrors(ColourUse::Auto);
  const std::string name = tone == LineTone::Error ? colours.Red("orvflow:") : colours.Yellow("orvflow:");
  WriteErrorText(name + " " + OneLine(line) + "\n");
}

void SetActivity(const char* words) { activity = words; }

void PrintFailure(const char* what) { PrintErrorLine(std::string(what) + ", " + activity.load()); }

void PrintOutOfMemory() {
  for (const char* part : {"orvflow: out of memory ", activity.load(), "; what was saved before is whole\n"}) {
    std::fputs(part, stderr);
  }
  std::fflush(stderr);
}

}  // namespace OrvWorkFlow::Program
