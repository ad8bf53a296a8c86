// The files that this process has written to.
#pragma once

#include <string>

namespace OrvWorkFlow::Core::System::Windows {

// Takes note of a file, behind what was written to it, by its whole path in long form.
void NoteWritten(std::u16string path);
// Returns when the file is on the disk; one that is gone needs no flush. False when the disk refuses.
bool FlushFile(const std::u16string& path);

}  // namespace OrvWorkFlow::Core::System::Windows
