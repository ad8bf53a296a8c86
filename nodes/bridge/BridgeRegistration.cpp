// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/bridge/BridgeAsk.h"
#include "nodes/bridge/BridgeIn.h"
#include "nodes/bridge/BridgeOut.h"
#include "nodes/bridge/BridgeServe.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory bridge_ask(new (std::nothrow) Sdk::NodeCreator<BridgeAsk>);
WorkFlowFactory bridge_in(new (std::nothrow) Sdk::NodeCreator<BridgeIn>);
WorkFlowFactory bridge_out(new (std::nothrow) Sdk::NodeCreator<BridgeOut>);
WorkFlowFactory bridge_serve(new (std::nothrow) Sdk::NodeCreator<BridgeServe>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
