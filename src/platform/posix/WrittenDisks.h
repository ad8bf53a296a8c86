// The disks that this process has written to.
#pragma once

namespace OrvWorkFlow::Posix {

// Takes note of the disk of an open file, behind what was written to it. Cheap when it is the disk of the note before.
void NoteWritten(int file) noexcept;

}  // namespace OrvWorkFlow::Posix
