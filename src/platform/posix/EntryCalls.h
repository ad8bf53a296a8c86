// What can be done to one entry of a folder. An entry is named by its folder's descriptor and its name there, or by
// AT_FDCWD and its whole path.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace OrvWorkFlow::Posix {

struct EntryName {
  int folder;
  const char* name;
};

// Without following a link.
bool IsThere(EntryName entry);

// The contracts are those of the calls of the same name in Files.h and Directories.h.
bool SetAttributes(EntryName entry, std::uint32_t attributes);
bool RemoveFile(EntryName entry);
bool RemoveFolder(EntryName entry);
SystemResult CreateFolder(EntryName entry);

enum class CopiedMark { Kept, Dropped };

// `Exists`, and nothing has happened, when `fail_if_exists` and something has that name. `Kept`: the copy has the
// source's read-only mark.
SystemResult CopyFile(EntryName source, EntryName destination, bool fail_if_exists, CopiedMark mark);

}  // namespace OrvWorkFlow::Posix
