// What can be done to one entry of a folder. An entry is named by its folder's descriptor and its name there, or by
// AT_FDCWD and its whole path.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"
#include "platform/posix/HostFile.h"

namespace OrvWorkFlow::Core::System::Posix {

struct EntryName {
  int folder;
  const char* name;
};

// Without following a link.
bool IsThere(EntryName entry);

// The contracts are those of the calls of the same name in Files.h and Directories.h.
bool SetAttributes(EntryName entry, std::uint32_t attributes);
bool RemoveFile(EntryName entry, Mark mark);
// What lists a folder sees links to folders go when the folder goes first.
enum class DanglingLinks { Refused, Removed };
bool RemoveFolder(EntryName entry, Mark mark, DanglingLinks links);
SystemResult CreateFolder(EntryName entry);

// A path that leads to the entry.
std::string PathOf(EntryName entry);

// Opens a plain file for a change: locked against the library's other handles, and with its turn (see TakeTurn). The
// file is the one that has that name, also after others were waited for.
SystemResult OpenToChange(EntryName entry, int flags, Descriptor* file, struct stat* status);
// Whether the name still stands for the open file.
bool IsStillNamed(int file, EntryName entry);

}  // namespace OrvWorkFlow::Core::System::Posix
