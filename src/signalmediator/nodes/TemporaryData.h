// Which write directories may be deleted with all that is in them.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"

namespace OrvWorkFlow::Core::Mediator {

// A workflow's write directory is deleted unattended, so a mistake in a definition must not cost more than that
// directory. Refused are an empty path, a drive or file-system root, a bare location ("$TEMP", a workflow's own place
// "$Flow"), and every directory that is, or holds, one of the seven locations, drive "C:", the user's home, the current
// folder, or one of the paths in `kept`. Two paths are compared as they are written and by what they lead to; what
// cannot be compared is refused. "" when the directory may be deleted, else why not, as the end of a sentence.
std::string WhyNotDeleted(IFileSystemA& file_system, const std::string& directory,
                          const std::vector<std::string>& kept);

}  // namespace OrvWorkFlow::Core::Mediator
