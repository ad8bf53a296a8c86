#include "nodes/data/ValueNodes.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/data/EntryValue.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kSetterInputs[] = {
    {"set", "the entry becomes the value"},
    {"copy", "the entry becomes what From is, with all below it"},
    {"remove", "the entry goes, with all below it; one that is not there is no failure"},
    kResumeInput,
};
constexpr NodeOutput kDoneOutputs[] = {
    {"done", false, "it is done"},
    kFailedOutput,
};
constexpr NodeParameter kSetterParameters[] = {
    TextParameterRow("Entry", "", "the path of the entry"),
    TextListParameterRow("Value", "the value, or the items of a list"),
    TextParameterRow("Type", "str", "its type, as in a workflow file"),
    TextParameterRow("From", "/", "the path of the entry to copy"),
};
constexpr const char* kTypeWords[] = {"str", "int", "dbl", "Bool", "strlist", "intlist", "dbllist", "boollist"};
constexpr ParameterRule kSetterRules[] = {
    {.name = "Type", .words = kTypeWords},
};

constexpr NodeInput kComputerInputs[] = {
    {"compute", "computes the expression"},
    kResumeInput,
};
constexpr NodeOutput kComputerOutputs[] = {
    {"computed", false, "Into has the result"},
    kFailedOutput,
};
constexpr NodeParameter kComputerParameters[] = {
    TextParameterRow("Expression", "",
                     "such as /Sum + 2 * /Price, 'order ' & /Number or /Count >= 10; see docs/data.md"),
    TextParameterRow("Into", "/Result", "the entry that gets the result"),
};

struct TypeName {
  const char* name;
  ValueType type;
};
constexpr TypeName kTypes[] = {
    {"str", ValueType::String},         {"int", ValueType::Integer},          {"dbl", ValueType::Double},
    {"Bool", ValueType::Boolean},       {"strlist", ValueType::StringList},   {"intlist", ValueType::IntegerList},
    {"dbllist", ValueType::DoubleList}, {"boollist", ValueType::BooleanList},
};

void SetEntry(IDictionary& dictionary, const std::string& entry, const std::string& type,
              const std::vector<std::string>& values) {
  const Sdk::TextListHolder texts;
  for (const std::string& value : values) {
    if (!texts->Add(value.data(), value.size())) throw std::bad_alloc();
  }
  for (const TypeName& known : kTypes) {
    if (type != known.name) continue;
    if (dictionary.SetValueTexts(entry.c_str(), known.type, texts.get())) return;
    const std::string what =
        values.size() == 1 ? "\"" + values.front() + "\"" : std::to_string(values.size()) + " items";
    throw std::runtime_error("the entry \"" + entry + "\" of type " + type + " does not take " + what);
  }
  throw std::runtime_error("there is no type \"" + type + "\"");
}

}  // namespace

constinit const NodeTable<ParameterRule> ValueSetter::kRules = kSetterRules;

constinit const NodeDescription ValueSetter::kDescription = {
    .sentence = "Sets, copies or removes an entry of the dictionary",
    .inputs = kSetterInputs,
    .outputs = kDoneOutputs,
    .parameters = kSetterParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

constinit const NodeDescription ValueComputer::kDescription = {
    .sentence = "Computes with values of the dictionary",
    .inputs = kComputerInputs,
    .outputs = kComputerOutputs,
    .parameters = kComputerParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

const char* ValueSetter::DoTask(const std::string& task) {
  IDictionary& dictionary = WorkflowDictionary();
  const std::string entry = TextParameter("Entry");
  if (entry.find_first_not_of('/') == std::string::npos) throw std::runtime_error("no Entry is given");
  if (task != "set") ExpectReplaceable(entry);
  HoldChanges();
  if (task == "remove") {
    dictionary.Delete(entry.c_str());
  } else if (task == "copy") {
    const std::string from = TextParameter("From");
    if (from.find_first_not_of('/') == std::string::npos) throw std::runtime_error("no From is given");
    if (!dictionary.Exists(from.c_str())) throw std::runtime_error("there is no entry \"" + from + "\"");
    if (!dictionary.CopySubtree(from.c_str(), entry.c_str())) {
      throw std::runtime_error("cannot write the entry \"" + entry + "\"");
    }
  } else {
    SetEntry(dictionary, entry, TextParameter("Type"), TextListParameter("Value"));
  }
  return "done";
}

const char* ValueComputer::DoTask(const std::string& /*task*/) {
  IDictionary& dictionary = WorkflowDictionary();
  const Value value =
      Evaluate(TextParameter("Expression"), [&](const std::string& path) { return ReadValue(dictionary, path); });
  HoldChanges();
  Record().SetText("Result", TextOf(value));
  WriteValue(dictionary, TextParameter("Into"), value);
  return "computed";
}

}  // namespace OrvWorkFlow::Nodes
