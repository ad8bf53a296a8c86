// What a library's file is, before the system's loader touches it. The loader trusts what it maps: a file that was cut
// off ends the process at the first missing page, and a pipe blocks it for ever.
#pragma once

#include <string>

namespace OrvWorkFlow::Runtime {

// Whether the file of that absolute path can be a library for this process: a regular file that can be read, in the
// platform's format, for the machine of the running program, with all its segments and sections within the file. Where
// the system knows owners: not another user's in a folder that all may write to. False with a one-line `reason`
// otherwise, without the file's name in front.
//
// The file may change between this look and the load; who may replace a library may do worse.
bool CheckLibraryFile(const std::string& file, std::string* reason);

}  // namespace OrvWorkFlow::Runtime
