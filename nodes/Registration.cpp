// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/ChecksumVerifier.h"
#include "nodes/FailureCollector.h"
#include "nodes/FileCopier.h"
#include "nodes/FolderCollector.h"
#include "nodes/ReportWriter.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory folder_collector(new (std::nothrow) Sdk::NodeCreator<FolderCollector>);
WorkFlowFactory file_copier(new (std::nothrow) Sdk::NodeCreator<FileCopier>);
WorkFlowFactory checksum_verifier(new (std::nothrow) Sdk::NodeCreator<ChecksumVerifier>);
WorkFlowFactory failure_collector(new (std::nothrow) Sdk::NodeCreator<FailureCollector>);
WorkFlowFactory report_writer(new (std::nothrow) Sdk::NodeCreator<ReportWriter>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
