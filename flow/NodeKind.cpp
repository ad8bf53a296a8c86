#include "flow/NodeKind.h"

#include <memory>

#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Flow {

namespace {

struct CreatorDestroyer {
  void operator()(IFactoryObjectCreator* creator) const { creator->Destroy(); }
};

const NodeDescription* Ask(IFactoryObjectCreator& creator) {
  if (!creator.CreatesWorkNodes()) return nullptr;
  IBaseWorkFlowObject* const node = creator.Create();
  if (node == nullptr) return nullptr;
  auto* const description = static_cast<INodeDescription*>(node->QueryInterface("INodeDescription"));
  const NodeDescription* const answer = description == nullptr ? nullptr : description->Describe();
  node->Release();
  return answer;
}

}  // namespace

const NodeDescription* DescribeNodeType(const std::string& type) noexcept {
  try {
    if (!WorkFlowFactory::IsWorkNodePresent(type.c_str())) return nullptr;
    const std::unique_ptr<IFactoryObjectCreator, CreatorDestroyer> creator(WorkFlowFactory::CloneCreator(type.c_str()));
    return creator == nullptr ? nullptr : Ask(*creator);
  } catch (...) {  // Whatever is wrong with such a node shows when it is made for its work.
    return nullptr;
  }
}

}  // namespace OrvWorkFlow::Flow
