// The files that this process has written to.
#pragma once

#include <string>

namespace OrvWorkFlow::Windows {

// Takes note of a file, behind what was written to it, by its whole path in long form.
void NoteWritten(std::u16string path);

}  // namespace OrvWorkFlow::Windows
