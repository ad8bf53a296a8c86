#include "orvflow/run/StoppableRun.h"

#include "orvflow/terminal/StopAnnouncer.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

std::string DescribeWaitingStop(const std::string& flow, const std::string& node, bool saves) {
  const bool interrupt = RequestedStop() == StopRequest::Interrupt;
  return flow + ": waiting for " + node + (interrupt ? "; press again to end " : "; asked again, it ends ") +
         (saves ? "without saving" : "at once");
}

}  // namespace

RunResult RunUntilStopped(WorkflowHost& host, RunLimits limits, const std::string& flow) {
  const auto requested = [&host] {
    host.deliveries().Forgive();
    host.Wake();
  };
  const auto waits = [&] {
    const std::string node = host.NodeAtWork();
    if (!node.empty()) PrintErrorLine(DescribeWaitingStop(flow, node, !limits.state_file.empty()));
  };
  limits.checkpoint_overdue = [&] {
    const std::string node = host.NodeAtWork();
    if (!node.empty()) PrintErrorLine(flow + ": a checkpoint is overdue: it waits for " + node);
  };
  const StopAnnouncer announcer(requested, waits);
  return host.Run(limits);
}

}  // namespace OrvWorkFlow::Program
