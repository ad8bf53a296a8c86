#include "signalmediator/nodes/TemporaryData.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "platform/Places.h"

namespace OrvWorkFlow::Core::Mediator {
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

bool IsDrive(const std::vector<std::string>& components) {
  return components.size() == 1 && components[0].back() == ':';
}

// What a directory must not take along.
struct Kept {
  std::string name;  // as a user knows it
  std::string path;  // a platform path
};

std::vector<Kept> EverythingKept(IFileSystemA& file_system, const std::vector<std::string>& paths) {
  std::vector<Kept> everything;
  for (const char* location : kLocations) everything.push_back({location, PlatformPath(file_system, location)});
  everything.push_back({"drive C:", "C:\\"});
  everything.push_back({"the home folder", System::HomeDirectory()});
  everything.push_back({"the current folder", "."});
  for (const std::string& path : paths) everything.push_back({path, PlatformPath(file_system, path)});
  return everything;
}

}  // namespace

std::string WhyNotDeleted(IFileSystemA& file_system, const std::string& directory,
                          const std::vector<std::string>& kept) {
  const std::vector<std::string> written = Components(directory);
  if (written.empty() || IsDrive(written)) return "it is a root";
  if (written.size() == 1 && written[0].front() == '$') return "it is a location's or a workflow's own folder";
  const std::string path = PlatformPath(file_system, directory);
  const std::vector<std::string> target = Components(path);
  if (target.empty()) return "its place is not known";
  if (IsDrive(target) || System::LeadsToRoot(path)) return "it is a root";
  for (const Kept& one : EverythingKept(file_system, kept)) {
    const std::vector<std::string> place = Components(one.path);
    if (place.empty() && one.path != ".") continue;
    if (!place.empty() && IsSameOrInside(place, target)) return "it is or holds " + one.name;
    switch (System::RelateToPlace(path, one.path)) {
      case System::PlaceRelation::Apart:
        break;
      case System::PlaceRelation::Holds:
        return "it is or holds " + one.name;
      case System::PlaceRelation::Unknown:
        return "the system does not say whether it holds " + one.name;
    }
  }
  return {};
}

}  // namespace OrvWorkFlow::Core::Mediator
