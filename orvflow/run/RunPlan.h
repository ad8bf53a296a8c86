// What is run, once everything that can be wrong with it was looked for.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/run/RunOptions.h"

namespace OrvWorkFlow::Program {

// Paths are from the root of the host's file system.
struct RunPlan {
  std::string flow;   // what it is called there
  std::string file;   // where its text is
  std::string start;  // what the engine loads: that file, or the saved state
  std::vector<std::string> absorbs;
  std::string name;
  std::string checksum;  // of the flow that the workflow began with
  bool continued = false;
};

// Finds everything on dictionaries apart, before the engine touches anything. Prints what is doubtful; throws
// ProgramError for what cannot be run.
RunPlan MakeRunPlan(const RunOptions& options, const FlowSource& source, const Host::WorkflowHost& host,
                    const Host::StateFile& state);

// Loads what the plan says into the engine and the mediator. Throws ProgramError when that fails.
void LoadRun(const RunOptions& options, const FlowSource& source, const RunPlan& plan, Host::WorkflowHost& host);

// Nothing that the run needs is taken for what its nodes have written. Before LoadRun, which does that for the flow and
// its state.
void KeepFilesOfRun(const RunOptions& options, const RunPlan& plan, Host::WorkflowHost& host);

}  // namespace OrvWorkFlow::Program
