// Copying one file of the host.
#pragma once

#include "platform/posix/EntryCalls.h"

namespace OrvWorkFlow::Posix {

// The copy has the source's read-only mark, or none.
enum class CopiedMark { Kept, Dropped };
// Whether a name that stands for another file now is on the disk at the end.
enum class Flush { FolderToo, FileOnly };

// `Exists`, and nothing has happened, when `fail_if_exists` and something has that name. A file that is there is
// replaced by a whole copy, which has its permissions and is on the disk; a failure leaves it, unless its folder takes
// no new file.
SystemResult CopyFile(EntryName source, EntryName destination, bool fail_if_exists, CopiedMark mark, Flush flush);

}  // namespace OrvWorkFlow::Posix
