#include "filesystem/LocationMacros.h"

#include <algorithm>
#include <array>

#include "filesystem/PathText.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Characters of a value that count, the terminator included. What a query says beyond that is cut.
constexpr std::uint32_t kModuleCapacity = 260;
constexpr std::uint32_t kDirectoryCapacity = 261;
constexpr std::uint32_t kLongCapacity = 522;

// The value of a query of one width; empty when it fails.
template <class Char, std::uint32_t kCapacity, class Query>
std::basic_string<Char> Ask(const Query& query) {
  std::array<Char, kCapacity> buffer{};
  if (query(buffer.data(), kCapacity) == 0) return {};
  buffer.back() = 0;
  return buffer.data();
}

// True when the query answers at all; an answer may be empty.
template <std::uint32_t kCapacity, class Query>
bool AskWide(const Query& query, std::u16string* value) {
  std::array<char16_t, kCapacity> buffer{};
  if (query(buffer.data(), kCapacity) == 0) return false;
  buffer.back() = 0;
  *value = buffer.data();
  return true;
}

std::u16string Widened(const System::Platform& platform, const std::string& text) {
  std::u16string wide;
  platform.code_page.Widen(text, &wide);
  return wide;
}

// The wide query, else the narrow one.
template <std::uint32_t kCapacity, class Query>
std::u16string AskBoth(const System::Platform& platform, const Query& query) {
  std::u16string value;
  const auto wide = [&](auto* buffer, std::uint32_t size) { return query(platform.wide.locations, buffer, size); };
  if (AskWide<kCapacity>(wide, &value)) return value;
  const auto narrow = [&](auto* buffer, std::uint32_t size) { return query(platform.narrow.locations, buffer, size); };
  return Widened(platform, Ask<char, kCapacity>(narrow));
}

std::u16string WindowsDirectory(const System::Platform& platform) {
  return AskBoth<kDirectoryCapacity>(platform, [](auto& locations, auto* buffer, std::uint32_t size) {
    return locations.WindowsDirectory(buffer, size);
  });
}

std::u16string SystemDirectory(const System::Platform& platform) {
  return AskBoth<kDirectoryCapacity>(platform, [](auto& locations, auto* buffer, std::uint32_t size) {
    return locations.SystemDirectory(buffer, size);
  });
}

std::u16string TempPath(const System::Platform& platform) {
  return AskBoth<kLongCapacity>(
      platform, [](auto& locations, auto* buffer, std::uint32_t size) { return locations.TempPath(buffer, size); });
}

// With its final separator.
std::u16string ProgramDirectory(const System::Platform& platform) {
  const std::u16string file = AskBoth<kModuleCapacity>(platform, [](auto& locations, auto* buffer, std::uint32_t size) {
    return locations.ModuleFileName(buffer, size);
  });
  const std::size_t separator = LastSeparator<char16_t>(file);
  if (separator != std::u16string::npos) return file.substr(0, separator + 1);
  return file.size() >= 2 && file[1] == u':' ? file.substr(0, 2) : std::u16string();
}

std::u16string ProgramFiles(const System::Platform& platform) {
  std::u16string value;
  const auto wide = [&](char16_t* buffer, std::uint32_t size) {
    return platform.wide.locations.ExpandVariables(u"%ProgramFiles%", buffer, size);
  };
  if (AskWide<kLongCapacity>(wide, &value)) return value;
  const std::string expanded = Ask<char, kDirectoryCapacity>([&](char* buffer, std::uint32_t size) {
    return platform.narrow.locations.ExpandVariables("%ProgramFiles%", buffer, size);
  });
  if (!expanded.empty()) return Widened(platform, expanded);
  const std::string windows = Ask<char, kDirectoryCapacity>(
      [&](char* buffer, std::uint32_t size) { return platform.narrow.locations.WindowsDirectory(buffer, size); });
  const std::string drive = windows.empty() ? "C" : windows.substr(0, 1);
  return Widened(platform, drive + ":\\Program Files");
}

}  // namespace

const MacroName* FindMacro(std::u16string_view path) {
  const MacroName* found = nullptr;
  for (const MacroName& name : kMacroNames) {
    if (path.starts_with(name.text)) found = &name;
  }
  return found;
}

std::u16string MacroValue(const System::Platform& platform, LocationMacro macro) {
  switch (macro) {
    case LocationMacro::Temp:
      return WindowsDirectory(platform) + u"\\Temp";
    case LocationMacro::Permanent:
    case LocationMacro::WinDir:
      return WindowsDirectory(platform);
    case LocationMacro::HostExec:
      return ProgramDirectory(platform);
    case LocationMacro::WinSysDir:
      return SystemDirectory(platform);
    case LocationMacro::ProgramFiles:
      return ProgramFiles(platform);
    case LocationMacro::WinTemp:
      return TempPath(platform);
  }
  return {};
}

std::u16string ExpandMacro(const System::Platform& platform, std::u16string_view path) {
  const MacroName* name = FindMacro(path);
  if (name == nullptr) return {};
  std::u16string value = MacroValue(platform, name->macro);
  if (value.ends_with(u'\\')) value.pop_back();
  std::u16string rest(path.substr(name->text.size()));
  std::replace(rest.begin(), rest.end(), u'/', u'\\');
  return value + rest;
}

}  // namespace OrvWorkFlow::Core::FileSystem
