// Taking what has changed in a flow file into a state that was saved before.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Paths of the workflow's definitions: work nodes with their instances, mappings and parameters, utility objects, and
// directories. An entry that is on one side only stands for everything below it.
struct FlowChanges {
  std::vector<std::string> added;
  std::vector<std::string> changed;
  std::vector<std::string> removed;  // what is in the state and in none of its flows any more

  bool None() const { return added.empty() && changed.empty() && removed.empty(); }
};

// "--update" in two steps. Both throw ProgramError. The first shows what has changed and makes it in `state`, a
// dictionary of the caller's with the saved state in it; it refuses what cannot be taken in. `flow` and `shown_flow`:
// the file from the root of the host's file system, and as the user knows it.
void ShowFlowUpdate(const Host::WorkflowHost& host, IDictionary& state, const std::string& flow,
                    const std::string& shown_flow, const Host::StateFile& file);
// The second makes it in the file.
void UpdateSavedState(const Host::WorkflowHost& host, const Host::StateFile& file, const std::string& workflow_name,
                      const std::string& flow);

// The parts. `flows`: the flow file's dictionary first, then those of the workflows that the state has absorbed.
FlowChanges FindFlowChanges(IDictionary& state, const std::vector<IDictionary*>& flows);

// Adds what was added and changes what was changed, as absorbing does. What was removed stays. False when the
// dictionary refuses.
bool TakeFlowChanges(IDictionary& state, IDictionary& flow);

// For the user: a line for each change, with the values of those that changed.
std::vector<std::string> DescribeFlowChanges(const FlowChanges& changes, IDictionary& state, IDictionary& flow);

}  // namespace OrvWorkFlow::Program
