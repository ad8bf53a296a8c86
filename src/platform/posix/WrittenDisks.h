// The disks that this process has written to.
#pragma once

#include <sys/types.h>

namespace OrvWorkFlow::Core::System::Posix {

// Takes note of the disk of an open file, behind what was written to it. Cheap when it is the disk of the note before.
void NoteWritten(int file) noexcept;

// An open folder and the disk that what is made in it comes to.
struct FolderOnDisk {
  int folder;
  dev_t disk;
};
// The same for what was written to new files of a folder, without a look at the file.
void NoteWrittenIn(const FolderOnDisk& folder) noexcept;

}  // namespace OrvWorkFlow::Core::System::Posix
