#include "tests/program/support/ChildProcess.h"

#include <chrono>
#include <thread>

namespace orv_test {

std::string ChildProcess::ErrorSoFar() const { return WithPlainLineEnds(ReadFile(directory_.path() / "error")); }

bool ChildProcess::WaitForError(const std::string& text) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < deadline) {
    if (ErrorSoFar().find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         std::string_view input) {
  return ChildProcess(program, arguments, input).Wait();
}

std::string WithPlainLineEnds(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_line_end = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!is_line_end) plain.push_back(text[i]);
  }
  return plain;
}

}  // namespace orv_test
