// Where the system says that things are.
#include <type_traits>

#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

class NarrowLocations final : public LocationsOf<char> {
 public:
  std::uint32_t WindowsDirectory(char* buffer, std::uint32_t capacity) override {
    return GetWindowsDirectoryA(buffer, capacity);
  }
  std::uint32_t SystemDirectory(char* buffer, std::uint32_t capacity) override {
    return GetSystemDirectoryA(buffer, capacity);
  }
  std::uint32_t TempPath(char* buffer, std::uint32_t capacity) override { return GetTempPathA(capacity, buffer); }
  std::uint32_t ExpandVariables(const char* text, char* buffer, std::uint32_t capacity) override {
    return ExpandEnvironmentStringsA(text, buffer, capacity);
  }
  std::uint32_t ModuleFileName(char* buffer, std::uint32_t capacity) override {
    return GetModuleFileNameA(nullptr, buffer, capacity);
  }
};

class WideLocations final : public LocationsOf<char16_t> {
 public:
  std::uint32_t WindowsDirectory(char16_t* buffer, std::uint32_t capacity) override {
    return GetWindowsDirectoryW(Native(buffer), capacity);
  }
  std::uint32_t SystemDirectory(char16_t* buffer, std::uint32_t capacity) override {
    return GetSystemDirectoryW(Native(buffer), capacity);
  }
  std::uint32_t TempPath(char16_t* buffer, std::uint32_t capacity) override {
    return GetTempPathW(capacity, Native(buffer));
  }
  std::uint32_t ExpandVariables(const char16_t* text, char16_t* buffer, std::uint32_t capacity) override {
    return ExpandEnvironmentStringsW(Native(text), Native(buffer), capacity);
  }
  std::uint32_t ModuleFileName(char16_t* buffer, std::uint32_t capacity) override {
    return GetModuleFileNameW(nullptr, Native(buffer), capacity);
  }
};

}  // namespace
}  // namespace Windows

namespace SystemParts {

template <class Char>
LocationsOf<Char>& Locations() {
  static std::conditional_t<sizeof(Char) == 1, Windows::NarrowLocations, Windows::WideLocations> locations;
  return locations;
}
template LocationsOf<char>& Locations<char>();
template LocationsOf<char16_t>& Locations<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
