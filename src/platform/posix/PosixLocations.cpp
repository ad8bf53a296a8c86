// Where things are on the host, told in Windows shape.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/text/Utf8.h"
#include "platform/SystemParts.h"
#include "platform/posix/HostPath.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

constexpr std::string_view kWindowsDirectory = "C:\\Windows";
constexpr std::string_view kSystemDirectory = "C:\\Windows\\system32";

std::string Variable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::string() : std::string(value);
}

std::string TempDirectory() {
  std::string directory = "/tmp";
  for (const char* name : {"TMP", "TEMP", "TMPDIR"}) {
    const std::string value = Variable(name);
    if (value.empty()) continue;
    directory = value;
    break;
  }
  HostPath host;
  const bool has_drive = directory.size() >= 2 && directory[1] == ':';
  std::string path = directory;
  if (!has_drive) path = ToHostPath(directory, &host) ? ToDrivePath(host.path) : std::string();
  if (!path.empty() && path.back() != '\\') path += '\\';
  return path;
}

std::string ProgramFile() {
  constexpr std::string_view kDeleted = " (deleted)";
  std::string target(4096, '\0');
  const ssize_t length = ::readlink("/proc/self/exe", target.data(), target.size());
  if (length <= 0) return {};
  target.resize(static_cast<std::size_t>(length));
  if (target.ends_with(kDeleted)) target.resize(target.size() - kDeleted.size());
  return ToDrivePath(target);
}

std::string Expand(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t end = text.front() == '%' ? text.find('%', 1) : std::string_view::npos;
    const char* value = nullptr;
    if (end != std::string_view::npos) value = std::getenv(std::string(text.substr(1, end - 1)).c_str());
    if (value != nullptr) {
      result += value;
      text.remove_prefix(end + 1);
    } else {
      result += text.front();
      text.remove_prefix(1);
    }
  }
  return result;
}

template <class Char>
std::uint32_t Answer(const std::basic_string<Char>& value, Char* buffer, std::uint32_t capacity) {
  if (value.empty() || capacity == 0) return 0;
  const std::size_t length = std::min<std::size_t>(value.size(), capacity - 1);
  std::copy_n(value.data(), length, buffer);
  buffer[length] = 0;
  return static_cast<std::uint32_t>(value.size());
}

std::uint32_t AnswerText(std::string_view value, char* buffer, std::uint32_t capacity) {
  return Answer(std::string(value), buffer, capacity);
}
std::uint32_t AnswerText(std::string_view value, char16_t* buffer, std::uint32_t capacity) {
  std::u16string wide;
  return Base::Utf8ToUtf16(value, &wide) ? Answer(wide, buffer, capacity) : 0;
}

bool Narrow(const char* text, std::string* narrow) {
  *narrow = text;
  return true;
}
bool Narrow(const char16_t* text, std::string* narrow) { return Base::Utf16ToUtf8(text, narrow); }

template <class Char>
class PosixLocations final : public LocationsOf<Char> {
 public:
  std::uint32_t WindowsDirectory(Char* buffer, std::uint32_t capacity) override {
    return AnswerText(kWindowsDirectory, buffer, capacity);
  }
  std::uint32_t SystemDirectory(Char* buffer, std::uint32_t capacity) override {
    return AnswerText(kSystemDirectory, buffer, capacity);
  }
  std::uint32_t TempPath(Char* buffer, std::uint32_t capacity) override {
    return AnswerText(TempDirectory(), buffer, capacity);
  }
  std::uint32_t ExpandVariables(const Char* text, Char* buffer, std::uint32_t capacity) override {
    std::string narrow;
    return Narrow(text, &narrow) ? AnswerText(Expand(narrow), buffer, capacity) : 0;
  }
  std::uint32_t ModuleFileName(Char* buffer, std::uint32_t capacity) override {
    return AnswerText(ProgramFile(), buffer, capacity);
  }
};

}  // namespace
}  // namespace Posix

namespace SystemParts {

template <class Char>
LocationsOf<Char>& Locations() {
  static Posix::PosixLocations<Char> locations;
  return locations;
}
template LocationsOf<char>& Locations<char>();
template LocationsOf<char16_t>& Locations<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
