// Plug-in libraries, found, tried and described one by one.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "orvflow/inspect/LibraryDescription.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// Hands over what each of the named libraries registers, or those of the plug-in directories where none is named; there
// files that are no plug-ins are passed over. Each is tried in a process apart first, and alone in this one while it is
// described. Prints an error line for one that is missing or broken and goes on: the result is PluginBroken then, else
// Done. Throws ProgramError when no library is named and there is none.
ExitCode DescribeLibraries(const std::vector<std::string>& names,
                           const std::function<void(LibraryDescription library)>& take);

}  // namespace OrvWorkFlow::Program
