// Files as the user names them on the command line, in UTF-8: by the host's own paths, relative to the current
// directory.
#pragma once

#include <string>

namespace OrvWorkFlow::Program {

enum class FileKind { Missing, Folder, Unreadable, Readable };

FileKind FindFileKind(const std::string& path);

// The path from the root of the host's file system, in the narrow characters of the host's file calls and of the
// library; as given when the system cannot tell. FindFileKind takes it too. Throws ProgramError when these characters
// cannot name it.
std::string MakeAbsolutePath(const std::string& path);

}  // namespace OrvWorkFlow::Program
