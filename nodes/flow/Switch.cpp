#include "nodes/flow/Switch.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "OrvWorkFlow/IRegExp.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"decide", "goes the way of the first case that fits"},
};
constexpr NodeOutput kOutputs[] = {
    {"case1", false, "the case of that number fits"},
    {"case2", false, "the case of that number fits"},
    {"case3", false, "the case of that number fits"},
    {"case4", false, "the case of that number fits"},
    {"case5", false, "the case of that number fits"},
    {"case6", false, "the case of that number fits"},
    {"case7", false, "the case of that number fits"},
    {"case8", false, "the case of that number fits"},
    {"otherwise", true, "none fits"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Value", "", "what is looked at, as in {/Data/Size}"),
    TextParameterRow("By", "value", "how it is compared with the cases"),
    TextListParameterRow("Cases", "the cases, eight at most"),
    BooleanParameterRow("IgnoreCase", false, "whether capital and small letters of values are the same"),
};
constexpr const char* kWaysToCompare[] = {"value", "pattern", "comparison"};
constexpr ParameterRule kRuleRows[] = {
    {.name = "By", .words = kWaysToCompare},
};

double NumberIn(std::string_view text, const char* what) {
  const std::size_t first = text.find_first_not_of(" \t");
  const std::size_t last = text.find_last_not_of(" \t");
  const std::string_view digits = first == std::string_view::npos ? "" : text.substr(first, last - first + 1);
  double number = 0;
  const std::from_chars_result result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (digits.empty() || result.ec != std::errc() || result.ptr != digits.data() + digits.size()) {
    throw std::runtime_error(std::string(what) + " \"" + std::string(text.substr(0, 80)) + "\" is no number");
  }
  return number;
}

struct Releaser {
  void operator()(IBaseWorkFlowObject* object) const { object->Release(); }
};

bool IsFound(const std::string& pattern, const std::string& value) {
  const std::unique_ptr<IBaseWorkFlowObject, Releaser> object(WorkFlowFactory::CreateNewObject(ObjectNames::kRegExp));
  if (object == nullptr) throw std::runtime_error("the host has no object RegExp");
  auto* const matcher = static_cast<IRegExp*>(object->QueryInterface(InterfaceNames::kRegExp));
  if (matcher->MatchNarrow(value.c_str(), pattern.c_str())) return true;
  const std::string problem = Sdk::TextFrom([&](IOrvPString* text) { return object->GetLastErrorText(text); });
  if (!problem.empty()) throw std::runtime_error("the case \"" + pattern + "\" is no pattern: " + problem);
  return false;
}

bool Compares(const std::string& value, std::string_view text) {
  std::size_t size = 1;
  if (text.size() > 1 && text[1] == '=') size = 2;
  const std::string_view sign = text.substr(0, size);
  constexpr std::string_view kSigns[] = {"=", "==", "!=", "<", "<=", ">", ">="};
  if (std::find(std::begin(kSigns), std::end(kSigns), sign) == std::end(kSigns)) {
    throw std::runtime_error("the case \"" + std::string(text.substr(0, 80)) +
                             "\" is no comparison; write = != < <= > or >= and a number");
  }
  const double left = NumberIn(value, "the value");
  const double right = NumberIn(text.substr(size), "the case's");
  if (sign == "<") return left < right;
  if (sign == "<=") return left <= right;
  if (sign == ">") return left > right;
  if (sign == ">=") return left >= right;
  return (left == right) == (sign != "!=");
}

}  // namespace

constinit const NodeTable<ParameterRule> Switch::kRules = kRuleRows;

constinit const NodeDescription Switch::kDescription = {
    .sentence = "Sends a signal the way of the first case that fits a value",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Switch::OnSignal(std::string_view /*signal*/) {
  const std::string value = TextParameter("Value");
  const std::string by = TextParameter("By");
  const std::vector<std::string> cases = TextListParameter("Cases");
  constexpr const char* kWays[] = {"case1", "case2", "case3", "case4", "case5", "case6", "case7", "case8"};
  if (cases.size() > std::size(kWays)) throw std::runtime_error("the parameter Cases has more than eight cases");
  const bool ignores_case = BooleanParameter("IgnoreCase");
  for (std::size_t i = 0; i < cases.size(); ++i) {
    bool fits = false;
    if (by == "value") {
      fits = ignores_case ? Sdk::Parameters::EqualIgnoringCase(value, cases[i]) : value == cases[i];
    } else if (by == "pattern") {
      fits = IsFound(cases[i], value);
    } else {
      fits = Compares(value, cases[i]);
    }
    if (!fits) continue;
    FireOutput(kWays[i]);
    return true;
  }
  FireOutput("otherwise");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
