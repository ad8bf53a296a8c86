// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/web/HttpTrigger.h"
#include "nodes/web/MailSender.h"
#include "nodes/web/WebNodes.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory downloader(new (std::nothrow) Sdk::NodeCreator<Downloader>);
WorkFlowFactory http_request(new (std::nothrow) Sdk::NodeCreator<HttpRequest>);
WorkFlowFactory http_trigger(new (std::nothrow) Sdk::NodeCreator<HttpTrigger>);
WorkFlowFactory mail_sender(new (std::nothrow) Sdk::NodeCreator<MailSender>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
