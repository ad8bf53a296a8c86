#include "nodes/archive/EntryName.h"

#include <algorithm>
#include <array>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::size_t kMostShown = 200;

// Without the number that some of them have.
constexpr std::array<std::string_view, 6> kDevices = {"CON", "PRN", "AUX", "NUL", "COM", "LPT"};

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

}  // namespace

std::string NameBelow(std::string_view stored, const std::string& shown_archive) {
  const auto refuse = [&, whole = stored](const std::string& why) {
    throw FileProblem(shown_archive + ": \"" + ShownName(whole) + "\": " + why);
  };
  if (stored.empty()) refuse(FileReasons::kInvalidName);
  if (stored.front() == '/') refuse("it leads out of the folder");
  std::string name;
  while (!stored.empty()) {
    const std::size_t end = std::min(stored.find('/'), stored.size());
    const std::string part(stored.substr(0, end));
    stored.remove_prefix(std::min(end + 1, stored.size()));
    if (part.empty() || part == ".") continue;
    if (part == "..") refuse("it leads out of the folder");
    if (!HoldsPart(part)) refuse(FileReasons::kInvalidName);
    name += (name.empty() ? "" : "/") + part;
  }
  return name;
}

std::string ShownName(std::string_view name) {
  std::string shown(name.substr(0, kMostShown));
  std::replace_if(shown.begin(), shown.end(), IsControl, '?');
  return name.size() > kMostShown ? shown + "..." : shown;
}

bool IsWindowsName(std::string_view part) {
  constexpr std::string_view kSpecial = "<>:\"/\\|?*";
  if (part.empty() || part.back() == '.' || part.back() == ' ') return false;
  const auto is_bad = [&](char c) {
    return static_cast<unsigned char>(c) < 0x20 || kSpecial.find(c) != std::string_view::npos;
  };
  if (std::any_of(part.begin(), part.end(), is_bad)) return false;
  std::string stem(part.substr(0, part.find('.')));
  while (!stem.empty() && stem.back() == ' ') stem.pop_back();
  std::transform(stem.begin(), stem.end(), stem.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  if (stem == "CONIN$" || stem == "CONOUT$") return false;
  const bool has_number = stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9';
  const std::string_view device = std::string_view(stem).substr(0, 3);
  const auto found = std::find(kDevices.begin(), kDevices.end(), device);
  if (found == kDevices.end()) return true;
  const bool is_numbered = found - kDevices.begin() >= 4;
  return is_numbered ? !has_number : stem.size() != 3;
}

}  // namespace OrvWorkFlow::Nodes
