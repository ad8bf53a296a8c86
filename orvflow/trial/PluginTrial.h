// The plug-in libraries of a workflow, tried before they are loaded.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

class PluginTrial {
 public:
  // Tries the libraries that the workflow of the dictionary would load, and others by their names. Throws what
  // TryLibraries throws.
  explicit PluginTrial(IDictionary& dictionary, const std::vector<std::string>& others = {});

  // Why the library of that name, as the dictionary has it, is not to be loaded: its file and what it does, in a line;
  // "" when nothing is known against it.
  std::string FaultOf(const std::string& library) const;

 private:
  std::map<std::string, std::string> faults_;  // by name
};

}  // namespace OrvWorkFlow::Program
