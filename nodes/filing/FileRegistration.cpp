// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/filing/FileDeleter.h"
#include "nodes/filing/FileHasher.h"
#include "nodes/filing/FileLister.h"
#include "nodes/filing/FolderWatcher.h"
#include "nodes/filing/TextFile.h"
#include "nodes/filing/TextMatcher.h"
#include "nodes/filing/TreeCopier.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory file_deleter(new (std::nothrow) Sdk::NodeCreator<FileDeleter>);
WorkFlowFactory file_hasher(new (std::nothrow) Sdk::NodeCreator<FileHasher>);
WorkFlowFactory file_lister(new (std::nothrow) Sdk::NodeCreator<FileLister>);
WorkFlowFactory folder_watcher(new (std::nothrow) Sdk::NodeCreator<FolderWatcher>);
WorkFlowFactory text_matcher(new (std::nothrow) Sdk::NodeCreator<TextMatcher>);
WorkFlowFactory text_reader(new (std::nothrow) Sdk::NodeCreator<TextReader>);
WorkFlowFactory text_writer(new (std::nothrow) Sdk::NodeCreator<TextWriter>);
WorkFlowFactory tree_copier(new (std::nothrow) Sdk::NodeCreator<TreeCopier>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
