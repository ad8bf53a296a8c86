#include "base/windows/WindowsApi.h"

#include <shellapi.h>

#include <memory>

#include "orvflow/terminal/Arguments.h"

namespace OrvWorkFlow::Program {

namespace {

struct LocalFreer {
  void operator()(wchar_t** block) const { LocalFree(block); }
};

std::string Narrow(const wchar_t* wide) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, narrow.data(), size, nullptr, nullptr);
  narrow.resize(narrow.size() - 1);  // Without the terminator.
  return narrow;
}

}  // namespace

// Those of `main` lack what the code page lacks.
std::vector<std::string> ArgumentsInUtf8(int /*argument_count*/, char** /*arguments*/) {
  int count = 0;
  const std::unique_ptr<wchar_t*, LocalFreer> words(CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> result;
  for (int i = 1; words != nullptr && i < count; ++i) result.push_back(Narrow(words.get()[i]));
  return result;
}

}  // namespace OrvWorkFlow::Program
