// The plug-in's entry, see the one of the other nodes.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/component/ComponentFinder.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory component_finder(new (std::nothrow) Sdk::NodeCreator<ComponentFinder>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
