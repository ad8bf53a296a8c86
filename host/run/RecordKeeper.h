// What keeps the record of a run, as the host's load and run see it.
#pragma once

#include <string>

#include "OrvWorkFlow/host/HostedRun.h"
#include "OrvWorkFlow/host/StateFile.h"

namespace OrvWorkFlow::Host {

// The host calls in this order, on the thread of its own operations. What throws keeps the host from what it was about
// to do: HostError, and std::bad_alloc.
class RecordKeeper {
 public:
  virtual ~RecordKeeper() = default;

  // Before anything is looked for in the state: it becomes what the record of a run that was cut off says. `flow` is
  // how messages call the flow.
  virtual void Recover(const StateFile& state, const std::string& flow) = 0;
  // The workflow is about to be loaded from that file, and was loaded. A load that fails is followed by another one, or
  // by the host's end.
  virtual void Open(const std::string& flow_path, bool is_continued) = 0;
  virtual void Begin() = 0;

  // As the members of RunSettings that are called so.
  virtual bool NeedsCheckpoint() = 0;
  virtual bool Saving() = 0;
  virtual void Saved() = 0;
  virtual void Finished() = 0;
  virtual void Ended(const RunResult& result) = 0;

  // All of the host is gone.
  virtual void HostGone() noexcept = 0;
};

}  // namespace OrvWorkFlow::Host
