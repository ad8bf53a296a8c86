#include "nodes/flow/Restarter.h"
#include "OrvWorkFlow/Names.h"

#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"restart", "asks for it"},
    {"restarted", "its reboot signal: the workflow goes on"},
};
constexpr NodeOutput kOutputs[] = {
    {"restarted", false, "the workflow goes on"},
    {"refused", false, "the host cannot save the workflow; nothing has happened"},
};

}  // namespace

constinit const NodeDescription Restarter::kDescription = {
    .sentence = "Asks the host to save the workflow and end, and goes on in the next run",
    .inputs = kInputs,
    .outputs = kOutputs,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool Restarter::OnSignal(std::string_view signal) {
  if (signal == "restarted") {
    asked_ = false;
    FireOutput("restarted");
    return true;
  }
  if (signal != "restart") return false;
  auto* host = Sdk::FindGlobal<IHostRestart>(ObjectNames::kHostApp, InterfaceNames::kHostRestart);
  asked_ = true;  // Before the request: the stop may follow at once.
  if (host != nullptr && host->RequestRestart()) return true;
  asked_ = false;
  FireOutput("refused");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
