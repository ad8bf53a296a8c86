#include "nodes/archive/StagingFolder.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/archive/EntryName.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void FailMaking(const std::string& shown_name, const std::string& reason) {
  throw FileProblem("cannot make the folder " + shown_name + ": " + reason);
}

}  // namespace

StagingFolder::StagingFolder(fs::path path, std::string shown_name, StopCheck stop_wanted)
    : path_(std::move(path)), shown_name_(std::move(shown_name)), stop_wanted_(std::move(stop_wanted)) {
  RemoveTree(path_, shown_name_, stop_wanted_);
  MakeFolderOf(path_, shown_name_);
  std::error_code error;
  if (!fs::create_directory(path_, error)) {
    FailMaking(shown_name_, error ? ReasonOf(error) : FileReasons::kExists);
  }
}

std::string StagingFolder::Shown(const std::string& name) const { return PathBelow(shown_name_, ShownName(name)); }

std::uint64_t StagingFolder::MakeFolders(const std::string& name) {
  if (name.empty() || name == last_made_) return 0;
  std::uint64_t made = 0;
  for (std::size_t end = 0; end < name.size(); ++end) {
    end = std::min(name.find('/', end), name.size());
    const std::string folder = name.substr(0, end);
    const fs::path part = LocalNameOf(folder);
    const fs::path place = path_ / part;
    std::error_code error;
    if (fs::create_directory(place, error)) {
      ++made;
      continue;
    }
    if (!fs::is_directory(fs::symlink_status(place, error))) {
      FailMaking(Shown(folder), error ? ReasonOf(error) : FileReasons::kExists);
    }
    if (OwnNameOf(place) != part.filename()) FailMaking(Shown(folder), "another one has that name here");
  }
  last_made_ = name;
  return made;
}

fs::path StagingFolder::PlaceFor(const std::string& name, std::uint64_t& folders_made) {
  const std::size_t slash = name.rfind('/');
  folders_made = slash == std::string::npos ? 0 : MakeFolders(name.substr(0, slash));
  fs::path place = PlaceOf(name);
  std::error_code error;
  if (fs::exists(fs::symlink_status(place, error))) {
    throw FileProblem("cannot write " + Shown(name) + ": another entry has that name here");
  }
  return place;
}

fs::path StagingFolder::PlaceOf(const std::string& name) const { return path_ / LocalNameOf(name); }

fs::path StagingFolder::PlainFile(const std::string& name) const {
  fs::path place = PlaceOf(name);
  std::error_code error;
  if (name.empty() || !fs::is_regular_file(fs::symlink_status(place, error))) {
    throw FileProblem("cannot read " + Shown(name) + ": " + FileReasons::kNotFound);
  }
  return place;
}

void StagingFolder::BecomeFolder(const fs::path& target, const std::string& shown_target) {
  std::error_code error;
  fs::remove(target, error);  // An empty folder, or nothing: anything else stays and is in the way.
  RenamePath(path_, target, shown_target);
}

void StagingFolder::RemoveTree(const fs::path& top, const std::string& shown_name, const StopCheck& stop_wanted) {
  const auto remove = [&](const fs::path& path) {
    if (stop_wanted()) throw ArchiveStopped();
    std::error_code error;
    fs::remove(path, error);
    if (error) throw FileProblem("cannot delete " + shown_name + ": " + ReasonOf(error));
  };
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(top, error))) return remove(top);
  std::vector<fs::path> folders{top};
  for (std::size_t i = 0; i < folders.size(); ++i) {
    std::vector<fs::path> files;
    fs::directory_iterator entry(folders[i], error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      std::error_code ignored;
      const bool is_folder = entry->is_directory(ignored) && !entry->is_symlink(ignored);
      (is_folder ? folders : files).push_back(entry->path());
    }
    if (error) throw FileProblem("cannot delete " + shown_name + ": " + ReasonOf(error));
    std::for_each(files.begin(), files.end(), remove);
  }
  std::for_each(folders.rbegin(), folders.rend(), remove);
}

}  // namespace OrvWorkFlow::Nodes
