#include "orvflow/inspect/LibraryDescription.h"

#include <limits>
#include <new>

#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "flow/model/NodeKind.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr const char* kInterfaces[] = {
    InterfaceNames::kWorkNode,       InterfaceNames::kDictionary,   InterfaceNames::kDictionary3,
    InterfaceNames::kFileSystemA,    InterfaceNames::kFileSystemW,  InterfaceNames::kEncryption,
    InterfaceNames::kRegExp,         InterfaceNames::kUtilityStore, InterfaceNames::kSignalMediator,
    InterfaceNames::kWorkFlowEngine, InterfaceNames::kHostApp,      InterfaceNames::kLogger,
};

// The interfaces that an object of this type answers to.
void FindInterfaces(IFactoryObjectCreator& creator, TypeDescription& type) {
  IBaseWorkFlowObject* object = nullptr;
  try {
    object = creator.Create();
  } catch (...) {
  }
  type.can_be_made = object != nullptr;
  if (object == nullptr) return;
  for (const char* name : kInterfaces) {
    if (object->QueryInterface(name) != nullptr) type.interfaces.emplace_back(name);
  }
  object->Release();
}

const char* WordFor(ParameterType type) {
  switch (type) {
    case ParameterType::Text:
      return "text";
    case ParameterType::Boolean:
      return "yes or no";
    case ParameterType::Number:
      return "number";
    case ParameterType::TextList:
      return "list of texts";
  }
  return "value";
}

void AddRule(const ParameterRule& rule, ParameterDescription& parameter) {
  parameter.words.assign(rule.words.begin(), rule.words.end());
  parameter.any_case = rule.any_case;
  parameter.is_one_text = rule.between != nullptr;
  parameter.may_be_left_out = rule.may_be_left_out || parameter.is_one_text;
}

ParameterDescription Describe(const NodeParameter& row, const ParameterRule* rule) {
  ParameterDescription parameter;
  parameter.name = row.name;
  parameter.type = WordFor(row.type);
  parameter.fallback = row.fallback;
  parameter.sentence = row.sentence;
  const bool has_texts = row.type == ParameterType::Text || row.type == ParameterType::TextList;
  if (rule != nullptr && has_texts) AddRule(*rule, parameter);
  if (row.type != ParameterType::Number) return parameter;
  if (row.minimum != std::numeric_limits<std::int32_t>::min()) parameter.minimum = row.minimum;
  if (row.maximum != std::numeric_limits<std::int32_t>::max()) parameter.maximum = row.maximum;
  return parameter;
}

NodeWords Describe(const NodeDescription& description, const Flow::ParameterRules& rules) {
  NodeWords words;
  words.sentence = description.sentence;
  for (const NodeInput& row : description.inputs) words.inputs.push_back({row.name, row.sentence});
  for (const NodeOutput& row : description.outputs) {
    words.outputs.push_back({row.name, row.sentence, row.must_be_taken});
  }
  for (const NodeParameter& row : description.parameters) {
    words.parameters.push_back(Describe(row, Flow::RuleOf(rules, row.name)));
  }
  words.state_in_dictionary = description.state_in_dictionary;
  words.acts_outside = description.acts_outside;
  return words;
}

TypeDescription DescribeType(const std::string& name) {
  TypeDescription type;
  type.name = name;
  IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name.c_str());
  if (creator == nullptr) return type;
  type.kind = creator->CreatesWorkNodes() ? "node" : "object";
  type.version = Sdk::TextFrom([&](IOrvPString* text) { return creator->GetVersion(text); }, "-");
  FindInterfaces(*creator, type);
  creator->Destroy();
  if (const NodeDescription* const description = Flow::DescribeNodeType(name)) {
    type.words = Describe(*description, Flow::ParameterRulesOf(name));
  }
  return type;
}

}  // namespace

std::vector<TypeDescription> DescribeRegisteredTypes() {
  const Sdk::TextListHolder names;
  if (!WorkFlowFactory::GetObjectTypeNames(names.get())) throw std::bad_alloc();
  std::vector<TypeDescription> types;
  for (const std::string& name : names.Texts()) types.push_back(DescribeType(name));
  return types;
}

}  // namespace OrvWorkFlow::Program
