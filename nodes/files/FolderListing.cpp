#include "nodes/files/FolderListing.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Nodes {

namespace {

bool FitsOne(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t in_pattern = 0;
  std::size_t star = std::string_view::npos;  // the last one seen, and what it stands for by now
  std::size_t taken = 0;
  while (at < text.size()) {
    if (in_pattern < pattern.size() && (pattern[in_pattern] == '?' || pattern[in_pattern] == text[at]) &&
        pattern[in_pattern] != '*') {
      ++at;
      ++in_pattern;
    } else if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      star = in_pattern++;
      taken = at;
    } else if (star != std::string_view::npos) {
      in_pattern = star + 1;
      at = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', in_pattern) == std::string_view::npos;
}

// The walk through one folder after the other.
class Walk {
 public:
  explicit Walk(const ListingOrder& order) : order_(order) {}

  std::optional<Listing> Run() {
    folders_.emplace_back(order_.folder, "");
    while (!folders_.empty()) {
      const auto [folder, prefix] = std::move(folders_.back());
      folders_.pop_back();
      if (!Enter(folder, prefix)) return std::nullopt;
    }
    std::sort(listing_.files.begin(), listing_.files.end(),
              [](const ListedFile& left, const ListedFile& right) { return left.name < right.name; });
    return std::move(listing_);
  }

 private:
  bool Enter(const std::filesystem::path& folder, const std::string& prefix) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    const std::optional<FileState> state = error ? StateOfPath(folder) : std::nullopt;
    if (state && !state->is_folder && prefix.empty())
      throw FileProblem("cannot list " + order_.shown_name + ": not a folder");
    if (error && (prefix.empty() || state)) {
      throw FileProblem("cannot list " + order_.shown_name + (prefix.empty() ? "" : "/" + prefix) + ": " +
                        ReasonOf(error));
    }
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      if (order_.stop_wanted()) return false;
      Take(*entry, prefix);
    }
    return true;
  }

  void Take(const std::filesystem::directory_entry& entry, const std::string& prefix) {
    const std::string own_name = NameOf(entry.path().filename());
    if (own_name.empty()) {
      ++listing_.left_out;
      return;
    }
    const std::optional<FileState> state = StateOfPath(entry.path());
    if (!state) return;
    std::string name = prefix + own_name;
    std::error_code error;
    if (state->is_folder && order_.recursive && !entry.is_symlink(error))
      folders_.emplace_back(entry.path(), name + "/");
    if (!state->is_plain || !FitsPattern(name, order_.patterns)) return;
    if (listing_.files.size() == order_.most) {
      throw FileProblem(order_.shown_name + " holds more than " + std::to_string(order_.most) + " such files");
    }
    listing_.files.push_back({std::move(name), *state});
  }

  const ListingOrder& order_;
  std::vector<std::pair<std::filesystem::path, std::string>> folders_;
  Listing listing_;
};

}  // namespace

bool FitsPattern(std::string_view path_below, std::string_view patterns) {
  const std::string_view own_name = path_below.substr(path_below.rfind('/') + 1);
  while (true) {
    const std::size_t end = std::min(patterns.find(';'), patterns.size());
    const std::string_view pattern = patterns.substr(0, end);
    const bool of_path = pattern.find('/') != std::string_view::npos;
    if (FitsOne(of_path ? path_below : own_name, pattern)) return true;
    if (end == patterns.size()) return false;
    patterns.remove_prefix(end + 1);
  }
}

std::optional<Listing> ListFolder(const ListingOrder& order) { return Walk(order).Run(); }

std::string PathBelow(const std::string& folder, const std::string& name) {
  const bool has_end = !folder.empty() && (folder.back() == '/' || folder.back() == '\\');
  return folder + (has_end ? "" : "/") + name;
}

}  // namespace OrvWorkFlow::Nodes
