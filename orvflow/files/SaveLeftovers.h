// What a save leaves beside its file when its process dies in between: "FILE.tmpN".
#pragma once

#include <string>

namespace OrvWorkFlow::Program {

// Removes what saves of the file have left there, known by their names and, where files have owners, by that. A save
// that is under way in another process is left alone. `file` is absolute.
void RemoveSaveLeftovers(const std::string& file);

// The platform's part. Removes one file, unless it is in use or cannot be what a save has left there.
void RemoveSaveLeftover(const std::string& file);

}  // namespace OrvWorkFlow::Program
