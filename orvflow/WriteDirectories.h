// The directories that a workflow's nodes write to. When a run that was killed is continued they are deleted with all
// that is in them: what such a run has left there is worthless.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

// The write directory in which `file` lies, as the dictionary names it; "" when it lies in none of those whose place
// can be told before the workflow runs. `flow` is the workflow's file; both from the root of the host's file system.
std::string WriteDirectoryOver(IDictionary& dictionary, const std::string& flow, const std::string& file);

}  // namespace OrvWorkFlow::Program
