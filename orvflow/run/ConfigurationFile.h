// The dictionary file that a node reads its parameters from, before the node is there.
#pragma once

#include <memory>
#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

// Reads `file`, the "ConfigFile" of the instance at that path of the workflow's dictionary, as the mediator has the
// node read it: looked for in the directories of the instance and of its workflow, and deciphered with that one's key.
// Paths may begin with the name of the workflow, whose own file is `flow_file`. Null when it cannot be read so.
std::shared_ptr<IDictionary> ReadConfiguration(IDictionary& workflow, const std::string& instance,
                                               const std::string& file, const std::string& flow_file);

}  // namespace OrvWorkFlow::Program
