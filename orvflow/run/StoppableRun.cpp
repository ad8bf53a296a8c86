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

Host::RunResult RunUntilStopped(Host::WorkflowHost& host, const Host::RunSettings& settings, const std::string& flow,
                                bool saves) {
  const auto requested = [&host] { host.RequestStop(); };
  const auto waits = [&] {
    const std::string node = host.NodeAtWork();
    if (!node.empty()) PrintErrorLine(DescribeWaitingStop(flow, node, saves));
  };
  const StopAnnouncer announcer(requested, waits);
  if (RequestedStop() != StopRequest::None) host.RequestStop();
  return host.Run(settings);
}

}  // namespace OrvWorkFlow::Program
