// Values that are read as something else than what is written: the dictionary converts what it can, and says nothing.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "base/dictionary/ValueTags.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

namespace {

// Names that these types have elsewhere are meant as them.
std::string NearestTag(const std::string& tag) {
  static constexpr const char* kElsewhere[][2] = {{"string", "str"}, {"integer", "int"},  {"double", "dbl"},
                                                  {"float", "dbl"},  {"boolean", "Bool"}, {"bool", "Bool"}};
  for (const auto& [name, meant] : kElsewhere) {
    if (Sdk::Parameters::EqualIgnoringCase(tag, name)) return meant;
  }
  return Base::NearestName(tag, Base::ValueTagTexts());
}

// The type of a list's items, else the type itself.
ValueType ItemTypeOf(ValueType type) {
  switch (type) {
    case ValueType::IntegerList:
      return ValueType::Integer;
    case ValueType::DoubleList:
      return ValueType::Double;
    case ValueType::BooleanList:
      return ValueType::Boolean;
    default:
      return type;
  }
}

// What a text is read as in place of what is written; "" where that is the same.
std::string ReadAs(ValueType type, const std::string& text) {
  switch (type) {
    case ValueType::Integer: {
      if (Sdk::Parameters::NumberOf(text)) return {};
      const long long number = std::strtoll(text.c_str(), nullptr, 10);
      const bool fits =
          number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max();
      return fits ? std::to_string(number) : "another number";
    }
    case ValueType::Double: {
      char* end = nullptr;
      const double number = std::strtod(text.c_str(), &end);
      const bool is_whole = !text.empty() && end == text.c_str() + text.size() && std::isfinite(number);
      return is_whole ? "" : std::to_string(number);
    }
    case ValueType::Boolean:
      if (text == "0" || text == "1") return {};
      return std::strtol(text.c_str(), nullptr, 10) > 0 ? "yes" : "no";
    default:
      return {};
  }
}

const char* FormOf(ValueType type) {
  switch (type) {
    case ValueType::Integer:
      return "write a whole number of 32 bits";
    case ValueType::Double:
      return "write a number, such as 0.25";
    default:
      return "write 1 or 0";
  }
}

class ValueCheck {
 public:
  ValueCheck(IDictionary& dictionary, Findings& findings) : dictionary_(dictionary), findings_(findings) {
    for (const Finding& finding : findings) known_.insert(finding.path);
  }

  void Check() {
    const Sdk::TextListHolder paths;
    if (!dictionary_.EnumeratePaths("", paths.get())) return;
    for (const std::string& path : paths.Texts()) {
      if (!path.empty() && path != "/" && known_.count(path) == 0) CheckEntry(path);
    }
  }

 private:
  void CheckEntry(const std::string& path) {
    if (dictionary_.IsRedirection(path.c_str())) return CheckRedirection(path);
    const ValueType type = dictionary_.GetValueType(path.c_str());
    if (type == ValueType::Nil) return CheckTag(path);
    if (type == ValueType::String || type == ValueType::WideString || type == ValueType::StringList) return;
    const Sdk::TextListHolder texts;
    if (!dictionary_.GetValueTexts(path.c_str(), texts.get())) return;
    if (type == ValueType::Binary) return CheckBinary(path);
    const ValueType item = ItemTypeOf(type);
    for (const std::string& text : texts.Texts()) {
      const std::string read = ReadAs(item, text);
      if (!read.empty()) return Warn(path, "\"" + text + "\" is read as " + read, FormOf(item));
    }
  }

  void CheckTag(const std::string& path) {
    const Sdk::TextHolder tag;
    if (!dictionary_.GetAttribute(path.c_str(), "__type", tag.get())) return;
    if (Base::FindTag(tag.Text()) != nullptr) return;
    const std::string nearest = NearestTag(tag.Text());
    Warn(path, "is not read: there is no type " + tag.Text(),
         nearest.empty() ? "types are str, int, dbl, Bool, strlist and others" : "did you mean " + nearest + "?");
  }

  void CheckRedirection(const std::string& path) {
    const Sdk::TextHolder tag;
    const Sdk::TextListHolder targets;
    const bool is_list = dictionary_.GetAttribute(path.c_str(), "__type", tag.get()) &&
                         Base::TypeOfTag(tag.Text()) == ValueType::StringList;
    if (!is_list || !dictionary_.GetValueTexts(path.c_str(), targets.get())) {
      return Warn(path, "is marked as a redirection, and names no paths", "write a list of them, __type=\"strlist\"");
    }
    const std::vector<std::string> texts = targets.Texts();
    if (std::any_of(texts.begin(), texts.end(), [&](const auto& t) { return dictionary_.Exists(t.c_str()); })) return;
    Warn(path, "is a redirection to " + (texts.empty() ? "nothing" : Base::Enumerate(texts) + ", which is not there"),
         "correct the path, or take the mark _isRedirection out");
  }

  void CheckBinary(const std::string& path) {
    const Sdk::StreamHolder bytes;
    if (!dictionary_.GetBinary(path.c_str(), bytes.get())) Warn(path, "is not read: it is no base64", "");
  }

  void Warn(const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({Severity::Warning, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  Findings& findings_;
  std::set<std::string> known_;
};

}  // namespace

void CheckValues(IDictionary& dictionary, Findings& findings) { ValueCheck(dictionary, findings).Check(); }

}  // namespace OrvWorkFlow::Flow
