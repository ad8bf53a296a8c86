// Which write directories may be deleted with all that is in them.
#pragma once

#include <string>

#include "OrvWorkFlow/IFileSystem.h"

namespace OrvWorkFlow {

// A workflow's write directory is deleted unattended, so a mistake in a definition must not cost more than that
// directory: false for an empty path, a drive or file-system root, a bare location ("$TEMP", a workflow's own place
// "$Flow"), and every directory that holds one of the seven locations.
bool MayBeDeleted(IFileSystemA& file_system, const std::string& directory);

}  // namespace OrvWorkFlow
