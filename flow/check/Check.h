// Looks for everything that can be known to be wrong with a workflow before it runs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "flow/check/Finding.h"
#include "flow/model/FlowBeside.h"

namespace OrvWorkFlow::Flow {

struct CheckOptions {
  // Loads a plug-in library by the name that the dictionary gives it; false, and why, when that fails.
  std::function<bool(const std::string& library, std::string& reason)> load_library;
  // The workflow's own file, from the root of the host's file system. Without it no files and folders are looked for.
  std::string file = {};
  // All that run together with it, in their order. When there are some they and it are the whole: nobody else brings
  // what is missing.
  std::vector<FlowBeside> beside = {};
  // Other workflows join this one before it starts.
  bool takes_in_others = false;
  // It joins another workflow: nothing has to begin it, and its signals may go to nodes of the other one.
  bool is_guest = false;
  // A saved state: what was begun may go on, so what is wrong with its wiring is no more than a warning.
  bool is_continued = false;
};

// Loads the libraries of all node types that have instances, and of the utility objects. The dictionary is only read.
Findings Check(IDictionary& dictionary, const CheckOptions& options);

}  // namespace OrvWorkFlow::Flow
