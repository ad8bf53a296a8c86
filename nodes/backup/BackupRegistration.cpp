// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/backup/ChecksumVerifier.h"
#include "nodes/backup/FailureCollector.h"
#include "nodes/backup/FileCopier.h"
#include "nodes/backup/FolderCollector.h"
#include "nodes/backup/ReportWriter.h"

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
