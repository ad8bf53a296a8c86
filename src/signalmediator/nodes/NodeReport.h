// What a host sees of the nodes of a running workflow.
#pragma once

#include <cstdint>

#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/Marshaller.h"
#include "signalmediator/nodes/WorkNodeList.h"
#include "signalmediator/signals/DeliveriesAtWork.h"

namespace OrvWorkFlow::Core::Mediator {

// All ask the nodes without the access lock: a delivery may hold that for as long as a node works.

// Throws when there is no memory.
void ReportNodes(const DeliveriesAtWork& at_work, const WorkNodeList& nodes, IRunReport& report);

std::uint32_t CountBusyNodes(WorkNodeList& nodes) noexcept;

// The definition paths of the nodes that absorb workflows.
bool ListAbsorbingNodes(WorkNodeList& nodes, IOrvPStringList* definition_paths);

}  // namespace OrvWorkFlow::Core::Mediator
