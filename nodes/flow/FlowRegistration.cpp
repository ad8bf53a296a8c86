// The plug-in's entry: its types are registered while it is loaded, and leave when it is unloaded.
#include <new>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "nodes/flow/AbsorbWorkflow.h"
#include "nodes/flow/Counter.h"
#include "nodes/flow/Delay.h"
#include "nodes/flow/ForEach.h"
#include "nodes/flow/ForEachParallel.h"
#include "nodes/flow/Gate.h"
#include "nodes/flow/Join.h"
#include "nodes/flow/LogLineNode.h"
#include "nodes/flow/LongCopier.h"
#include "nodes/flow/RateLimit.h"
#include "nodes/flow/Restarter.h"
#include "nodes/flow/Retry.h"
#include "nodes/flow/RunEnd.h"
#include "nodes/flow/Schedule.h"
#include "nodes/flow/Switch.h"
#include "nodes/flow/TimeLimitNode.h"
#include "nodes/flow/Timer.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

WorkFlowFactory absorb_workflow(new (std::nothrow) Sdk::NodeCreator<AbsorbWorkflow>);
WorkFlowFactory counter(new (std::nothrow) Sdk::NodeCreator<Counter>);
WorkFlowFactory delay(new (std::nothrow) Sdk::NodeCreator<Delay>);
WorkFlowFactory for_each(new (std::nothrow) Sdk::NodeCreator<ForEach>);
WorkFlowFactory for_each_parallel(new (std::nothrow) Sdk::NodeCreator<ForEachParallel>);
WorkFlowFactory gate(new (std::nothrow) Sdk::NodeCreator<Gate>);
WorkFlowFactory join(new (std::nothrow) Sdk::NodeCreator<Join>);
WorkFlowFactory log_line(new (std::nothrow) Sdk::NodeCreator<LogLineNode>);
WorkFlowFactory long_copier(new (std::nothrow) Sdk::NodeCreator<LongCopier>);
WorkFlowFactory rate_limit(new (std::nothrow) Sdk::NodeCreator<RateLimit>);
WorkFlowFactory restarter(new (std::nothrow) Sdk::NodeCreator<Restarter>);
WorkFlowFactory retry(new (std::nothrow) Sdk::NodeCreator<Retry>);
WorkFlowFactory run_end(new (std::nothrow) Sdk::NodeCreator<RunEnd>);
WorkFlowFactory schedule(new (std::nothrow) Sdk::NodeCreator<Schedule>);
WorkFlowFactory switch_node(new (std::nothrow) Sdk::NodeCreator<Switch>);
WorkFlowFactory time_limit(new (std::nothrow) Sdk::NodeCreator<TimeLimitNode>);
WorkFlowFactory timer(new (std::nothrow) Sdk::NodeCreator<Timer>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
