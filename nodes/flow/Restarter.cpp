#include "nodes/flow/Restarter.h"

#include "OrvWorkFlow/IHostApp.h"
#include "nodes/GlobalObject.h"

namespace OrvWorkFlow::Nodes {

bool Restarter::OnSignal(std::string_view signal) {
  if (signal == "restarted") {
    asked_ = false;
    FireOutput("restarted");
    return true;
  }
  if (signal != "restart") return false;
  auto* host = FindGlobal<IHostRestart>("HostApp", "IHostRestart");
  asked_ = true;  // Before the request: the stop may follow at once.
  if (host != nullptr && host->RequestRestart()) return true;
  asked_ = false;
  FireOutput("refused");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
