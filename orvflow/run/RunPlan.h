// What is run, once everything that can be wrong with it was looked for.
#pragma once

#include <string>
#include <vector>

#include "orvflow/run/FlowSource.h"
#include "orvflow/run/RunOptions.h"
#include "orvflow/run/StateFile.h"
#include "orvflow/run/WorkflowHost.h"

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
RunPlan MakeRunPlan(const RunOptions& options, const FlowSource& source, const WorkflowHost& host,
                    const StateFile& state);

// Loads what the plan says into the engine and the mediator. Throws ProgramError when that fails.
void LoadRun(const RunOptions& options, const FlowSource& source, const RunPlan& plan, WorkflowHost& host);

// Nothing that the run needs is taken for what its nodes have written; nor is anything deleted but by this program.
void KeepFilesOfRun(const RunOptions& options, const RunPlan& plan, const StateFile& state, WorkflowHost& host);

}  // namespace OrvWorkFlow::Program
