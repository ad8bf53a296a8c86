// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/sql/SqlImporter.h"
#include "nodes/sql/SqlNodes.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory sql_importer(new (std::nothrow) Sdk::NodeCreator<SqlImporter>);
WorkFlowFactory sql_query(new (std::nothrow) Sdk::NodeCreator<SqlQuery>);
WorkFlowFactory sql_statement(new (std::nothrow) Sdk::NodeCreator<SqlStatement>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
