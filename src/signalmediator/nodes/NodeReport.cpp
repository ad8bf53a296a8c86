#include "signalmediator/nodes/NodeReport.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow::Core::Mediator {

void ReportNodes(const DeliveriesAtWork& at_work, const WorkNodeList& list, IRunReport& report) {
  const std::vector<DeliveriesAtWork::Copied> work = at_work.Copy();
  const WorkNodeList::Snapshot nodes = list.Copy();
  for (const auto& [number, texts, node, milliseconds] : work) {
    report.NodeAtWork({{number,
                        {texts[0].c_str(), texts[1].c_str(), texts[2].c_str()},
                        {texts[3].c_str(), texts[4].c_str(), texts[5].c_str()}},
                       milliseconds});
  }
  const PropertyQuestion is_busy(kBusyProperty);
  for (const WorkNodePointer& entry : nodes) {
    const bool works =
        std::any_of(work.begin(), work.end(), [&](const auto& delivery) { return delivery.node == entry.get(); });
    const bool busy = !works && is_busy.IsYes(*entry->node);
    report.NodeThere({entry->type.c_str(), entry->instance.c_str(), works, busy});
  }
}

std::uint32_t CountBusyNodes(WorkNodeList& list) noexcept {
  std::uint32_t busy = 0;
  const WorkNodeList::Walk nodes(list);
  const PropertyQuestion is_busy(kBusyProperty);
  nodes.ForEach([&](const WorkNodeList::Listed& listed) {
    if (is_busy.IsYes(*listed.node)) ++busy;
  });
  return busy;
}

bool ListAbsorbingNodes(WorkNodeList& list, IOrvPStringList* definition_paths) {
  std::vector<std::string_view> paths;
  const WorkNodeList::Walk nodes(list);
  const PropertyQuestion is_component(kComponentProperty);
  nodes.ForEach([&](const WorkNodeList::Listed& listed) {
    if (listed.absorbs || is_component.IsYes(*listed.node)) paths.push_back(listed.entry->definition);
  });
  return AssignTexts(definition_paths, paths);
}

}  // namespace OrvWorkFlow::Core::Mediator
