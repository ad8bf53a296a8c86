// The base class for nodes that do one task for a signal, on a thread of their own: done or failed, stopped and
// continued.
//
// In the workflow's dictionary, below /<type>/<instance>: Task, the signal that began it; Problem, why the last one
// failed, "" when it did not; and what the node says.
//
// What a task writes where the workflow says counts with its end (HoldChanges, before the first such write): a
// parameter may take its value from there, and a signal that is delivered once more would find what it has done.
//
// A task that fails fires "failed". Where the workflow maps that, it is its business; else the user is told.
#pragma once

#include <string>
#include <string_view>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "OrvWorkFlow/sdk/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

inline constexpr NodeInput kResumeInput = {"resume", "goes on after a stop"};
inline constexpr NodeOutput kFailedOutput = {"failed", false, "it did not; Problem says why"};

// `std::exception`s that a task throws make it fail with their text.
class TaskNode : public Sdk::WorkerNode {
 public:
  // "done" or "failed".
  std::int32_t MostSignalsFired() override { return 1; }

 protected:
  using WorkerNode::WorkerNode;

  // The output signal that tells how it ended, null when it was stopped first. What it needs to go on is in Record().
  virtual const char* DoTask(const std::string& task) = 0;

  // Begins empty with each task, but for Keep.
  Sdk::NodeRecord Record() const;
  // What a new task leaves in the record; it is called on the thread of the signal.
  virtual void ClearRecord() { Record().Clear(); }

  // Begins the task that the signal names, or goes on.
  bool OnSignal(std::string_view signal) override;

 private:
  Outcome Work() override;
  void End(const std::string& problem, const char* output);
};

}  // namespace OrvWorkFlow::Nodes
