// What can be wrong with a workflow's file, found before anything of it runs.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

// Reads the file into the dictionary, an empty one that serves nothing else. Throws ProgramError when the file is
// missing, a folder, unreadable, or no dictionary. `shown_name` is how messages call the file.
void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name);

// Throws ProgramError when the dictionary holds no workflow that could do anything: no work nodes, or no signal to
// begin with.
void CheckWorkflow(IDictionary& dictionary, const std::string& shown_name);

// Loads the plug-in libraries of all work-node types that have instances, and of the utility objects. Throws
// ProgramError when one cannot be loaded or lacks its type.
void CheckPlugins(IDictionary& dictionary, const std::string& shown_name);

}  // namespace OrvWorkFlow::Program
