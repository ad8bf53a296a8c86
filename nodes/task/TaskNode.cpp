#include "nodes/task/TaskNode.h"

#include <exception>
#include <stdexcept>

#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kTask[] = "Task";
constexpr char kProblem[] = "Problem";
constexpr char kFired[] = "Fired";

}  // namespace

Sdk::NodeRecord TaskNode::Record() const {
  return Sdk::NodeRecord(WorkflowDictionary(), "/" + TypeName() + "/" + InstanceName());
}

bool TaskNode::OnSignal(std::string_view signal) {
  if (signal == kResumeInput.name) {
    // A run that was cut off may say so of a task that has ended: the next one may be on its way already.
    if (!Record().Has(kFired)) Continue();
    return true;
  }
  if (IsWorking()) {
    throw std::runtime_error("it is still at work: the signal \"" + std::string(signal) +
                             "\" comes too early; map it behind what the node fires");
  }
  ClearRecord();
  Record().SetText(kTask, std::string(signal));
  return BeginAnew();
}

Sdk::WorkerNode::Outcome TaskNode::Work() {
  Sdk::NodeRecord record = Record();
  if (record.Has(kFired)) return Outcome::Done;  // What was saved then is a moment that has passed.
  try {
    const char* const output = DoTask(record.Text(kTask));
    if (output == nullptr) return Outcome::Stopped;
    End("", output);
  } catch (const std::exception& error) {
    if (!IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), kFailedOutput.name)) TellUser(error.what());
    End(error.what(), kFailedOutput.name);
  }
  return Outcome::Done;
}

// That the task is done and that its signal is fired become true together.
void TaskNode::End(const std::string& problem, const char* output) {
  HoldChanges();
  Sdk::NodeRecord record = Record();
  record.SetText(kProblem, problem);
  record.SetNumber(kFired, 1);
  FireLast(output);
}

}  // namespace OrvWorkFlow::Nodes
