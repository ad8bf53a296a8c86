// Parameters that no node reads, or whose value is none that the node takes.
#include <algorithm>
#include <memory>
#include <optional>
#include <set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"
#include "flow/check/TextValues.h"
#include "flow/paths/ConfigurationFile.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

namespace {

constexpr char kFolder[] = "Parameters";

class ParameterCheck {
 public:
  ParameterCheck(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings)
      : dictionary_(dictionary),
        paths_(workflow.name, options.file, options.beside),
        text_values_(dictionary, workflow),
        findings_(findings) {
    reads_files_ = !options.file.empty();
  }

  void CheckInstance(const std::string& type, const NodeDescription& kind, const ParameterRules& rules,
                     const Instance& instance) {
    meant_.clear();
    rules_ = &rules;
    CheckFolder(kind, instance);
    for (const std::string& name : instance.parameters) {
      const std::string path = instance.path + "/" + kFolder + "/" + name;
      if (const NodeParameter* const parameter = FindRow(kind.parameters, name)) {
        CheckValue({dictionary_, path, path, ""}, *parameter);
      } else {
        CheckUnknown(path, type, kind, instance, name);
      }
    }
    CheckConfiguration(kind, instance);
  }

 private:
  // A value, and how a finding calls it.
  struct Place {
    IDictionary& dictionary;
    std::string path;
    std::string found_at;  // in the workflow's dictionary
    std::string before;    // of what is found
  };

  // Parameters that the workflow sets are not read from the file. Several nodes may share one, so what this node does
  // not know may be another one's.
  void CheckConfiguration(const NodeDescription& kind, const Instance& instance) {
    if (kind.parameters.count == 0) return;
    const std::string entry = instance.path + WorkflowSchema::kConfigFile;
    const std::string file = Base::TextAt(dictionary_, entry);
    if (file.empty()) return CheckMissing(kind, instance, {});
    const std::shared_ptr<IDictionary> configuration =
        reads_files_ ? ReadConfiguration(dictionary_, instance.path, file, paths_) : nullptr;
    if (configuration == nullptr) return;
    CheckMissing(kind, instance, Base::NamesBelow(*configuration, std::string("/") + kFolder));
    for (const std::string& name : Base::NamesBelow(*configuration, std::string("/") + kFolder)) {
      const NodeParameter* const parameter = FindRow(kind.parameters, name);
      const auto& set = instance.parameters;
      if (parameter == nullptr || std::find(set.begin(), set.end(), name) != set.end()) continue;
      const std::string path = std::string("/") + kFolder + "/" + name;
      CheckValue({*configuration, path, entry, file + ": " + path + " "}, *parameter);
    }
  }

  // A text for which nothing counts when it is not set. One that stands there empty is meant so, and so is one that may
  // be left out.
  void CheckMissing(const NodeDescription& kind, const Instance& instance, const std::vector<std::string>& in_file) {
    if (meant_.count(kFolder) != 0) return;
    const auto is_in = [](const std::vector<std::string>& names, const std::string& name) {
      return std::find(names.begin(), names.end(), name) != names.end();
    };
    for (const NodeParameter& parameter : kind.parameters) {
      const std::string name = parameter.name;
      if (parameter.type != ParameterType::Text || *parameter.fallback != '\0' || meant_.count(name) != 0) continue;
      if (const ParameterRule* const rule = RuleOf(*rules_, name); rule != nullptr && rule->may_be_left_out) continue;
      if (is_in(instance.parameters, name) || is_in(in_file, name)) continue;
      Add(Severity::Warning, instance.path + "/" + kFolder + "/" + name,
          "is not set, so it is empty: " + std::string(parameter.sentence),
          "set it, to an empty text if that is meant");
    }
  }

  // Parameters in a folder of nearly the right name are those of nobody.
  void CheckFolder(const NodeDescription& kind, const Instance& instance) {
    if (kind.parameters.count == 0 || !instance.parameters.empty()) return;
    for (const std::string& name : Base::NamesBelow(dictionary_, instance.path)) {
      if (name == kFolder || Base::NearestName(name, {kFolder}).empty()) continue;
      if (Base::NamesBelow(dictionary_, instance.path + "/" + name).empty()) continue;
      meant_.insert(kFolder);
      Add(Severity::Error, instance.path + "/" + name, "is read by nobody",
          "did you mean " + std::string(kFolder) + "?");
    }
  }

  // One that is hardly meant as another one that the instance does not set is an error: the node would do what it was
  // told not to do.
  void CheckUnknown(const std::string& path, const std::string& type, const NodeDescription& kind,
                    const Instance& instance, const std::string& name) {
    const std::vector<std::string> known = RowNames(kind.parameters);
    const std::string nearest = Base::NearestName(name, known);
    const auto& set = instance.parameters;
    const bool misspelt = !nearest.empty() && std::find(set.begin(), set.end(), nearest) == set.end();
    if (misspelt) meant_.insert(nearest);
    const std::string remedy = misspelt        ? "did you mean " + nearest + "?"
                               : known.empty() ? "it has no parameters"
                                               : "it reads " + Base::Enumerate(known);
    Add(misspelt ? Severity::Error : Severity::Warning, path, type + " reads no such parameter", remedy);
  }

  void CheckValue(const Place& place, const NodeParameter& parameter) {
    Sdk::Parameters::Entry entry = Sdk::Parameters::ReadEntry(place.dictionary, place.path, parameter.type);
    if (LeavesToTheRun(place, entry)) return;
    const ParameterRule* const rule = RuleOf(*rules_, parameter.name);
    if (entry.state == Sdk::Parameters::Entry::State::Missing) {
      Add(Severity::Warning, place, "has no value, so \"" + std::string(parameter.fallback) + "\" counts",
          std::string("set it to ") + Sdk::Parameters::WhatItTakes(parameter, rule));
    } else if (!Sdk::Parameters::Fits(entry, parameter.type)) {
      Add(Severity::Error, place, "is " + Sdk::Parameters::WhatItIs(entry),
          std::string("it takes ") + Sdk::Parameters::WhatItTakes(parameter, rule));
    } else if (parameter.type == ParameterType::Number) {
      CheckRange(place, parameter, *Sdk::Parameters::ToNumber(entry));
    } else {
      CheckWords(place, Sdk::Parameters::FindWordProblem(parameter, rule, entry), rule);
    }
  }

  void CheckWords(const Place& place, const std::optional<Sdk::Parameters::WordProblem>& problem,
                  const ParameterRule* rule) {
    if (!problem) return;
    const std::vector<std::string> words(rule->words.begin(), rule->words.end());
    Add(Severity::Error, place, problem->what, problem->remedy + Base::Suggest(problem->word, words));
  }

  // Whether nothing more can be said before the run: its texts take values from elsewhere, or are none that can.
  bool LeavesToTheRun(const Place& place, Sdk::Parameters::Entry& entry) {
    if (entry.type != ValueType::String && entry.type != ValueType::StringList) return false;
    bool is_left = false;
    for (std::string& text : entry.texts) {
      for (const TextRemark& remark : text_values_.Look(text, is_left)) {
        findings_.push_back({remark.severity, Area::Wiring, place.found_at, place.before + remark.what, remark.remedy});
        is_left = is_left || remark.severity == Severity::Error;
      }
    }
    return is_left;
  }

  void CheckRange(const Place& place, const NodeParameter& parameter, std::int32_t number) {
    if (number >= parameter.minimum && number <= parameter.maximum) return;
    const bool is_low = number < parameter.minimum;
    Add(Severity::Warning, place, "is " + std::to_string(number),
        "it counts as " + std::to_string(is_low ? parameter.minimum : parameter.maximum) + ", the " +
            (is_low ? "least" : "most") + " that it can be");
  }

  void Add(Severity severity, const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({severity, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  void Add(Severity severity, const Place& place, const std::string& what, std::string remedy) {
    Add(severity, place.found_at, place.before + what, std::move(remedy));
  }

  IDictionary& dictionary_;
  const FlowPaths paths_;
  TextValues text_values_;
  Findings& findings_;
  const ParameterRules* rules_ = nullptr;  // of the instance at hand
  std::set<std::string> meant_;            // by names that are misspelt, in the instance at hand
  bool reads_files_ = false;
};

}  // namespace

void CheckParameters(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds,
                     const CheckOptions& options, Findings& findings) {
  ParameterCheck check(dictionary, workflow, options, findings);
  for (const NodeType& type : workflow.types) {
    const auto kind = kinds.find(type.name);
    if (kind == kinds.end() || kind->second == nullptr) continue;
    const ParameterRules rules = ParameterRulesOf(type.name);
    for (const Instance& instance : type.instances) check.CheckInstance(type.name, *kind->second, rules, instance);
  }
}

}  // namespace OrvWorkFlow::Flow
