#include "flow/check/TextValues.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "OrvWorkFlow/sdk/ParameterText.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Flow {

namespace {

using Sdk::Parameters::TextPart;

// Whether `path` is `folder` or lies below it.
bool IsAtOrBelow(std::string_view path, std::string_view folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

}  // namespace

std::vector<TextRemark> TextValues::Look(std::string& text, bool& has_values) {
  const Sdk::Parameters::ParsedText parsed = Sdk::Parameters::ParseText(text);
  if (!parsed.problem.empty()) {
    const std::size_t end = parsed.problem.rfind("; ");
    return {{Severity::Error, parsed.problem.substr(0, end), parsed.problem.substr(end + 2)}};
  }
  std::vector<TextRemark> remarks;
  text.clear();
  for (const TextPart& part : parsed.parts) {
    if (part.kind == TextPart::Kind::Literal) text += part.text;
    if (part.kind == TextPart::Kind::Entry) LookAtEntry(part.text, remarks);
    if (part.kind == TextPart::Kind::Environment) LookAtVariable(part.text, remarks);
  }
  has_values = has_values || parsed.HasValues();
  return remarks;
}

void TextValues::LookAtEntry(const std::string& path, std::vector<TextRemark>& remarks) {
  if (dictionary_.Exists(path.c_str()) || MayBeSet(path)) return;
  remarks.push_back({Severity::Warning, "takes {" + path + "}, which nothing here sets",
                     "a signal that finds no such entry fails; add it, or mend its name"});
}

void TextValues::LookAtVariable(const std::string& name, std::vector<TextRemark>& remarks) const {
  const std::vector<std::string> allowed = Sdk::Parameters::EnvironmentNames(dictionary_);
  if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
    remarks.push_back({Severity::Error, "takes {env:" + name + "}, which the workflow does not list",
                       std::string("add ") + name + " to " + Sdk::Parameters::kEnvironmentNames +
                           ", a text with the names of the variables that may be read"});
  } else if (std::getenv(name.c_str()) == nullptr) {
    remarks.push_back(
        {Severity::Warning, "takes {env:" + name + "}, and there is no such variable here", "set it before the run"});
  }
}

// Nodes write where a parameter tells them to, or into a folder that is called like the instance or like what one of
// its parameters says. So a path of which that is true is not remarked on.
bool TextValues::MayBeSet(const std::string& path) {
  if (!is_listed_) ListNames();
  if (std::any_of(set_paths_.begin(), set_paths_.end(),
                  [&](const std::string& set) { return IsAtOrBelow(path, set) || IsAtOrBelow(set, path); })) {
    return true;
  }
  for (std::size_t begin = 1; begin <= path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    if (names_.count(path.substr(begin, end - begin)) != 0) return true;
    begin = end + 1;
  }
  return false;
}

void TextValues::ListNames() {
  is_listed_ = true;
  for (const NodeType& type : workflow_.types) {
    for (const Instance& instance : type.instances) {
      names_.insert(instance.name);
      for (const std::string& name : instance.parameters) {
        const std::string text = Base::TextAt(dictionary_, instance.path + "/Parameters/" + name);
        if (text.starts_with('/')) set_paths_.push_back(text);
        if (!text.empty()) names_.insert(text);
      }
    }
  }
}

}  // namespace OrvWorkFlow::Flow
