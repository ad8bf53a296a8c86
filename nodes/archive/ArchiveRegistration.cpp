// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/archive/ArchiveExtractor.h"
#include "nodes/archive/ArchiveLister.h"
#include "nodes/archive/ArchivePacker.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory archive_extractor(new (std::nothrow) Sdk::NodeCreator<ArchiveExtractor>);
WorkFlowFactory archive_lister(new (std::nothrow) Sdk::NodeCreator<ArchiveLister>);
WorkFlowFactory archive_packer(new (std::nothrow) Sdk::NodeCreator<ArchivePacker>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
