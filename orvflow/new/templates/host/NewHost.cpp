// A host of one's own: runs a workflow and prints each delivery. Told to stop after so many, it saves the state; the
// next run goes on from there, and where it was after a kill.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/host/StateRecord.h"
#include "OrvWorkFlow/host/WorkflowHost.h"

namespace {

using namespace OrvWorkFlow;

// Is called while the library holds locks: it only prints, and asks for the stop.
class Watcher final : public Host::RunObserver {
 public:
  Host::WorkflowHost* host = nullptr;
  std::atomic<int> left = 0;  // Several threads may call at once.

  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* /*text*/) override {
    const Receiver& node = delivery.receiver;
    std::printf("%s %s: %s%s\n", node.type, node.instance, node.signal, outcome == Outcome::Accepted ? "" : " failed");
    if (--left == 0) host->RequestStop();
  }
};

void PrintError(const std::string& line) { std::fprintf(stderr, "NewHost: %s\n", line.c_str()); }

int Execute(const std::string& flow, int stop_after) {
  Watcher watcher;
  Host::StateFile state(flow, "", PrintError);  // Beside the flow, and ours alone from here on.
  Host::StateRecord record;                     // Beside the state, so that a kill costs nothing.
  Host::WorkflowHost host;
  watcher.host = &host;
  watcher.left = stop_after;
  host.AddObserver(watcher);
  host.UseState(state);
  host.UseRecord(record);
  host.TellWith(PrintError);
  host.ShowMessagesWith([](const std::string& text, const std::string& /*caption*/) { PrintError(text); });
  host.Load(flow);
  if (host.IsContinued()) std::printf("continues from %s\n", state.shown_name().c_str());

  const Host::RunResult result = host.Run();
  if (result.saved && result.end != Host::RunEnd::Idle) {
    std::printf("stopped, saved in %s\n", state.shown_name().c_str());
    return 6;
  }
  if (result.end != Host::RunEnd::Idle) PrintError("not at its end: " + result.problem);
  std::printf("done, %u signals delivered\n", static_cast<unsigned>(host.GetStatistics().finished));
  return result.end == Host::RunEnd::Idle && result.failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc > 1) return Execute(argv[1], argc > 2 ? std::atoi(argv[2]) : 0);
    PrintError("usage: NewHost FLOW.xml [STOP-AFTER]");
    return 2;
  } catch (const Host::HostError& error) {
    PrintError(error.what());
    return error.kind() == Host::HostError::Kind::InUse ? 7 : error.kind() == Host::HostError::Kind::Damaged ? 5 : 1;
  } catch (const std::exception& error) {
    PrintError(error.what());
    return 1;
  }
}
