#include <process.h>

#include <cstdint>

#include "orvflow/terminal/OtherProgram.h"

namespace OrvWorkFlow::Program {

namespace {

// The command line is one text: a word in quotes, where a backslash counts only before a quote or at the end.
std::string Quoted(const std::string& word) {
  std::string quoted = "\"";
  std::size_t backslashes = 0;
  for (const char c : word) {
    if (c == '"') quoted.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, '\\') + "\"";
}

}  // namespace

std::optional<int> RunOtherProgram(const std::string& program, const std::vector<std::string>& words) {
  std::vector<std::string> texts = {Quoted(program)};
  for (const std::string& word : words) texts.push_back(Quoted(word));
  std::vector<const char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (const std::string& text : texts) arguments.push_back(text.c_str());
  arguments.push_back(nullptr);
  const std::intptr_t code = _spawnvp(_P_WAIT, program.c_str(), arguments.data());
  if (code == -1) return std::nullopt;
  return static_cast<int>(code);
}

}  // namespace OrvWorkFlow::Program
