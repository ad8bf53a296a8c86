#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "orvflow/terminal/OtherProgram.h"

namespace OrvWorkFlow::Program {

std::optional<int> RunOtherProgram(const std::string& program, const std::vector<std::string>& words) {
  std::vector<std::string> texts = {program};
  texts.insert(texts.end(), words.begin(), words.end());
  std::vector<char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (std::string& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) return std::nullopt;
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace OrvWorkFlow::Program
