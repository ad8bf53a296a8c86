#include "orvflow/Terminal.h"

#include <cstdio>

namespace OrvWorkFlow::Program {

ProgramError FileError(ExitCode code, std::string_view file, std::string_view dictionary_path, std::string_view text) {
  std::string line(file);
  if (!dictionary_path.empty()) line.append(": ").append(dictionary_path);
  line.append(": ").append(text);
  return ProgramError(code, line);
}

void PrintErrorLine(std::string_view line) {
  std::string text = "orvflow: ";
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
  text.push_back('\n');
  std::fwrite(text.data(), 1, text.size(), stderr);  // One call, so that lines of several threads stay whole.
  std::fflush(stderr);
}

}  // namespace OrvWorkFlow::Program
