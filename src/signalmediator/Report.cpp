// What a host sees of the nodes of a running workflow.
#include <algorithm>

#include "OrvWorkFlow/IRunReport.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow::Core::Mediator {

// Asks without the access lock: a delivery may hold that for as long as a node works.
bool CSignalMediator::Report(IRunReport* report) {
  if (report == nullptr) return false;
  try {
    const std::vector<DeliveriesAtWork::Copied> work = at_work_.Copy();
    const WorkNodeList::Snapshot nodes = nodes_.Copy();
    for (const auto& [number, texts, node, milliseconds] : work) {
      report->NodeAtWork({{number,
                           {texts[0].c_str(), texts[1].c_str(), texts[2].c_str()},
                           {texts[3].c_str(), texts[4].c_str(), texts[5].c_str()}},
                          milliseconds});
    }
    const PropertyQuestion is_busy(kBusyProperty);
    for (const WorkNodePointer& entry : nodes) {
      const bool works =
          std::any_of(work.begin(), work.end(), [&](const auto& delivery) { return delivery.node == entry.get(); });
      const bool busy = !works && is_busy.IsYes(*entry->node);
      report->NodeThere({entry->type.c_str(), entry->instance.c_str(), works, busy});
    }
    return true;
  } catch (...) {
    return false;
  }
}

// The same.
std::uint32_t CSignalMediator::CountBusyNodes() noexcept {
  std::uint32_t busy = 0;
  try {
    const WorkNodeList::Snapshot nodes = nodes_.Copy();
    const PropertyQuestion is_busy(kBusyProperty);
    for (const WorkNodePointer& entry : nodes) {
      if (is_busy.IsYes(*entry->node)) ++busy;
    }
  } catch (...) {  // Without memory nobody can be asked.
  }
  return busy;
}

}  // namespace OrvWorkFlow::Core::Mediator
