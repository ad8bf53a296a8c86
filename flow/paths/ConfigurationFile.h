// The dictionary file that a node reads its parameters from, before the node is there.
#pragma once

#include <memory>
#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

// The folders in which a bare name is looked for, as the mediator names them to the node: the directories of the
// instance at that path of the workflow's dictionary and of its workflow, and the folder of `file`, its "ConfigFile".
std::vector<std::string> ConfigurationFolders(IDictionary& workflow, const std::string& instance,
                                              const std::string& file);

// Reads `file` as the mediator has the node read it: looked for in these folders, and deciphered with the key of the
// instance's workflow. Null when it cannot be read so.
std::shared_ptr<IDictionary> ReadConfiguration(IDictionary& workflow, const std::string& instance,
                                               const std::string& file, const FlowPaths& paths);

}  // namespace OrvWorkFlow::Flow
