// What can be wrong with a workflow's file, found before anything of it runs.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "flow/check/Check.h"
#include "flow/graph/Proof.h"

namespace OrvWorkFlow::Program {

// What is known about the run for which a workflow is looked at.
struct FlowUse {
  bool takes_in_others = false;               // other workflows join it before it starts
  bool is_guest = false;                      // it joins another workflow
  bool is_continued = false;                  // the dictionary is that of a saved state
  bool is_forced = false;                     // errors are printed, and the run begins
  std::string file = {};                      // of the workflow, from the root of the host's file system
  std::vector<Flow::FlowBeside> beside = {};  // what is known of the workflows that run together with it
};

// All that can be known to be wrong (flow/check/Check.h), with the plug-in libraries tried in a child process and
// loaded.
Flow::Findings FindFaults(IDictionary& dictionary, const FlowUse& use);

// What is certain of its runs, after its faults were looked for and no error was found.
Flow::Proof ProveFlow(IDictionary& dictionary, const FlowUse& use);

// Looks for faults before a run. Prints each warning as a line. Throws ProgramError when there are errors, unless it
// is forced: with the error itself when it is the only one, else it prints them and counts. `shown_name` is how
// messages call the file.
void CheckFlow(IDictionary& dictionary, const std::string& shown_name, const FlowUse& use);

}  // namespace OrvWorkFlow::Program
