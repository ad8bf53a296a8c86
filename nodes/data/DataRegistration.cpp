// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/data/DataFiles.h"
#include "nodes/data/ValueNodes.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory csv_reader(new (std::nothrow) Sdk::NodeCreator<CsvReader>);
WorkFlowFactory csv_writer(new (std::nothrow) Sdk::NodeCreator<CsvWriter>);
WorkFlowFactory json_reader(new (std::nothrow) Sdk::NodeCreator<JsonReader>);
WorkFlowFactory json_writer(new (std::nothrow) Sdk::NodeCreator<JsonWriter>);
WorkFlowFactory value_computer(new (std::nothrow) Sdk::NodeCreator<ValueComputer>);
WorkFlowFactory value_setter(new (std::nothrow) Sdk::NodeCreator<ValueSetter>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
