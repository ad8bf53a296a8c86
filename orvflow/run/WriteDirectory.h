// The directory that a workflow's nodes write to, when a run was killed.
//
// What counts is never deleted: it is emptied only when a run begins anew after one that was killed, and only when all
// that is in it comes from that run, which had saved no state: the run had made the directory itself and said so in the
// engine's marker, which a completed save replaces.
#pragma once

#include <string>

#include "OrvWorkFlow/host/WorkflowHost.h"

namespace OrvWorkFlow::Program {

class WriteDirectory {
 public:
  // For a host that has loaded its workflow and knows its file. `flow` is that file from the root of the host's file
  // system. The host outlives this.
  WriteDirectory(Host::WorkflowHost& host, const std::string& flow);

  // A run begins anew: says what a killed run has left and whether it was deleted, and marks the directory as made by
  // this run when there is none.
  void BeginAnew();

  // The run has come to its end: what it wrote counts, with or without a saved state.
  void EndRun();

 private:
  void ClearUp();

  Host::WorkflowHost& host_;
  std::string directory_;  // "" when the workflow has none
  std::string marker_;
  std::string made_by_;  // what the marker of such a run says
};

}  // namespace OrvWorkFlow::Program
