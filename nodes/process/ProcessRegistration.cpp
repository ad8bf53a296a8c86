// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/process/RunProgram.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory run_program(new (std::nothrow) Sdk::NodeCreator<RunProgram>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
