// The plug-in libraries of a workflow.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Host {

// As the mediator loads a library: by its name as it stands, then from the plug-in directories. On failure `reason` is
// that of the first attempt. Throws std::bad_alloc.
bool LoadNodeLibrary(const std::string& library, std::string& reason);

// Loads the libraries of all types of work nodes that have instances. Throws HostError for the first that is missing or
// lacks the type; `shown_name` is how messages call the dictionary's file, `what_to_do` how a missing one is found.
void LoadNodeLibraries(IDictionary& workflow, const std::string& shown_name,
                       const std::string& what_to_do = "put the library there, or give the host its folder");

}  // namespace OrvWorkFlow::Host
