// Going from folder to folder below an open one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/posix/HostFile.h"

namespace OrvWorkFlow::Core::System::Posix {

enum class ChainLinks { Followed, Refused };
enum class ChainCase { Counts, Ignored };

// Keeps the folders open that lead to the last one, so that its neighbours cost one call each, and a link that takes a
// folder's place later leads nobody away.
class FolderChain {
 public:
  // With case ignored names of folders and files are looked up without regard to it, and each folder is read once at
  // most: what others make in it afterwards in another case is not seen.
  FolderChain(Descriptor root, ChainLinks links, ChainCase letter_case);

  // An entry: the folder that it is in and its name there. Valid until the next call.
  struct Place {
    int folder = -1;
    const char* name = "";
    explicit operator bool() const { return folder >= 0; }
  };

  // The descriptor of a folder by its path from the root, in "\" (empty for the root), valid until the next call; -1,
  // with `errno` set, when it cannot be entered.
  int Enter(std::string_view path);
  // False, with `errno` set, for a path that names no entry, and when its folder cannot be entered.
  Place Find(std::string_view path);
  // The disk of the folder that was entered or found in last; null when it does not tell.
  const dev_t* DiskOfLast();

 private:
  using NamesByCapitals = std::unordered_map<std::u16string, std::string>;
  struct Level {
    std::string name;  // As it was asked for.
    Descriptor folder;
    std::optional<NamesByCapitals> names;
    std::optional<dev_t> disk;
  };

  bool Descend(std::string_view name);
  bool Reopen(std::size_t depth);
  void CloseFarLevels();
  // What the last folder calls that name, when case is ignored.
  std::string NameInLast(std::string_view name);

  int flags_;
  bool ignores_case_;
  std::vector<Level> levels_;  // The first is the root.
  std::string name_;
};

}  // namespace OrvWorkFlow::Core::System::Posix
