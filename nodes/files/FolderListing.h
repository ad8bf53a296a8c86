// The files of a folder, by a pattern of their names.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

// Whether a name fits one of the patterns, which stand apart by ";": "*" is any characters, "?" any one. One with a "/"
// is compared with the path below the folder, any other with the file's own name.
bool FitsPattern(std::string_view path_below, std::string_view patterns);

struct ListingOrder {
  std::filesystem::path folder;
  std::string shown_name;  // of the folder, for problems
  std::string patterns = "*";
  bool recursive = false;
  std::size_t most = 1000000;  // more are a problem
  std::function<bool()> stop_wanted = [] { return false; };
};

struct ListedFile {
  std::string name;  // below the folder, with "/" between
  FileState state;
};

struct Listing {
  std::vector<ListedFile> files;  // in the order of their names
  std::size_t left_out = 0;       // names that no path can hold
};

// The plain files; links to files among them, links to folders are not entered. Entries that vanish meanwhile are not
// listed. Nothing when it was stopped. Throws FileProblem for a folder that cannot be read.
std::optional<Listing> ListFolder(const ListingOrder& order);

// The path of a file of a folder, in the folder's form.
std::string PathBelow(const std::string& folder, const std::string& name);

}  // namespace OrvWorkFlow::Nodes
