// Copying one file of the host.
#pragma once

#include "platform/posix/EntryCalls.h"

namespace OrvWorkFlow::Core::System::Posix {

// Whether a name that stands for another file now is on the disk at the end.
enum class Flush { FolderToo, FileOnly };

struct CopyWay {
  bool fail_if_exists;
  CopiedMark mark;
  Flush flush;
  // A listing said that the source is a plain file: it is opened without another look at its name. What it is by then,
  // the open file tells in any case.
  bool listed_as_plain = false;
  // Of the destination's folder, if it is known.
  const dev_t* disk = nullptr;
};

// `Exists`, and nothing has happened, when it shall fail then and something has that name. A file that is there is
// replaced by a whole copy, which has its permissions and is on the disk; a failure leaves it, unless its folder takes
// no new file.
SystemResult CopyFile(EntryName source, EntryName destination, const CopyWay& way);

}  // namespace OrvWorkFlow::Core::System::Posix
