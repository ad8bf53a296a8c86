// A folder that is made whole or not at all.
#pragma once

#include <string>
#include <vector>

#include "orvflow/new/Templates.h"

namespace OrvWorkFlow::Program {

// Makes the folder `name` with the files in it, scripts (*.sh) so that they can be started. `parent` is UTF-8 as the
// user gave it, "" for the current folder. Throws ProgramError: Usage when the parent is no folder, Failed when there
// is something of that name or the system refuses. Nothing is left then; of a process that was killed meanwhile there
// may be a folder whose name ends in ".new".
void MakeNewFolder(const std::string& parent, const std::string& name, const std::vector<NewFile>& files);

}  // namespace OrvWorkFlow::Program
