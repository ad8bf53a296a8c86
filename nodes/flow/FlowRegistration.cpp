// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/flow/AbsorbWorkflow.h"
#include "nodes/flow/LongCopier.h"
#include "nodes/flow/Restarter.h"
#include "nodes/flow/Timer.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory absorb_workflow(new (std::nothrow) Sdk::NodeCreator<AbsorbWorkflow>);
WorkFlowFactory long_copier(new (std::nothrow) Sdk::NodeCreator<LongCopier>);
WorkFlowFactory restarter(new (std::nothrow) Sdk::NodeCreator<Restarter>);
WorkFlowFactory timer(new (std::nothrow) Sdk::NodeCreator<Timer>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
