#include "nodes/task/MappedSignal.h"

#include <cstddef>

#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow::Nodes {

bool IsMapped(IDictionary& workflow, const std::string& type, const std::string& instance, const char* output) {
  const std::string path = std::string(WorkflowSchema::kWorkNodes) + "/" + type + WorkflowSchema::kInstances + "/" +
                           instance + WorkflowSchema::kMaps + "/" + output;
  std::size_t count = 0;
  return workflow.CountEntries(path.c_str(), &count) && count > 0;
}

}  // namespace OrvWorkFlow::Nodes
