#include "signalmediator/TemporaryData.h"

#include <string_view>
#include <vector>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow {
namespace {

constexpr const char* kLocations[] = {"$TEMP",      "$PERMANENT",    "$HOSTEXEC", "$WINDIR",
                                      "$WINSYSDIR", "$PROGRAMFILES", "$WINTEMP"};

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The components that are left of a path, in lower case: two spellings of one directory give the same ones. "." and
// empty components vanish, ".." takes one away, and so an empty answer is the root.
std::vector<std::string> Components(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    const std::size_t end = path.find_first_of("/\\");
    std::string component;
    for (const char c : path.substr(0, end)) component.push_back(LowerAscii(c));
    path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
    if (component == "..") {
      if (!components.empty() && components.back().back() != ':') components.pop_back();
    } else if (!component.empty() && component != ".") {
      components.push_back(std::move(component));
    }
  }
  return components;
}

bool IsSameOrInside(const std::vector<std::string>& path, const std::vector<std::string>& directory) {
  return path.size() >= directory.size() && std::equal(directory.begin(), directory.end(), path.begin());
}

std::string PlatformPath(IFileSystemA& file_system, const std::string& path) {
  std::string platform_path;
  const Marshalled<IOrvPString> text;
  if (text && file_system.WorkflowPathToPlatformPathString(path.c_str(), text.get())) {
    ReadText(text.get(), platform_path);
  }
  return platform_path;
}

}  // namespace

bool MayBeDeleted(IFileSystemA& file_system, const std::string& directory) {
  const std::vector<std::string> written = Components(directory);
  if (written.empty() || (written.size() == 1 && (written[0].front() == '$' || written[0].back() == ':'))) return false;
  const std::vector<std::string> target = Components(PlatformPath(file_system, directory));
  if (target.empty() || (target.size() == 1 && target[0].back() == ':')) return false;
  for (const char* location : kLocations) {
    const std::vector<std::string> place = Components(PlatformPath(file_system, location));
    if (!place.empty() && IsSameOrInside(place, target)) return false;
  }
  return true;
}

}  // namespace OrvWorkFlow
