#include "flow/model/NodeKind.h"

#include <memory>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

namespace OrvWorkFlow::Flow {

namespace {

struct CreatorDestroyer {
  void operator()(IFactoryObjectCreator* creator) const { creator->Destroy(); }
};

// Asks a new node of the type, which is not initialised, through one of its interfaces; `nothing` where it has none.
template <class Interface, class Answer, class Question>
Answer AskNode(const std::string& type, const char* interface_name, const Answer& nothing, Question ask) {
  try {
    if (!WorkFlowFactory::IsWorkNodePresent(type.c_str())) return nothing;
    const std::unique_ptr<IFactoryObjectCreator, CreatorDestroyer> creator(WorkFlowFactory::CloneCreator(type.c_str()));
    if (creator == nullptr || !creator->CreatesWorkNodes()) return nothing;
    IBaseWorkFlowObject* const node = creator->Create();
    if (node == nullptr) return nothing;
    auto* const answers = static_cast<Interface*>(node->QueryInterface(interface_name));
    Answer answer = answers == nullptr ? nothing : ask(*answers);
    node->Release();
    return answer;
  } catch (...) {  // Whatever is wrong with such a node shows when it is made for its work.
    return nothing;
  }
}

}  // namespace

const NodeDescription* DescribeNodeType(const std::string& type) noexcept {
  return AskNode<INodeDescription, const NodeDescription*>(type, InterfaceNames::kNodeDescription, nullptr,
                                                           [](INodeDescription& node) { return node.Describe(); });
}

std::int32_t MostSignalsFiredBy(const std::string& type) noexcept {
  return AskNode<INodeFiring, std::int32_t>(type, InterfaceNames::kNodeFiring, -1,
                                            [](INodeFiring& node) { return node.MostSignalsFired(); });
}

ParameterRules ParameterRulesOf(const std::string& type) noexcept {
  const NodeDescription* const description = DescribeNodeType(type);
  if (description == nullptr) return {};
  return AskNode<INodeParameterRules, ParameterRules>(type, InterfaceNames::kNodeParameterRules, {},
                                                      [&](INodeParameterRules& node) {
                                                        ParameterRules rules;
                                                        for (const NodeParameter& row : description->parameters) {
                                                          if (const ParameterRule* const rule = node.FindRule(row.name))
                                                            rules.emplace(row.name, rule);
                                                        }
                                                        return rules;
                                                      });
}

}  // namespace OrvWorkFlow::Flow
