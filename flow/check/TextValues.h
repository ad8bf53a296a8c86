// Values in the texts of parameters, as far as they can be known before a run.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "flow/check/Finding.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

struct TextRemark {
  Severity severity;
  std::string what;
  std::string remedy;
};

class TextValues {
 public:
  // Both outlive it.
  TextValues(IDictionary& dictionary, const Workflow& workflow) : dictionary_(dictionary), workflow_(workflow) {}

  // What is wrong with a text. Where nothing is an error, `text` becomes what is known of it before the run, and
  // `has_values` says whether the rest only comes then.
  std::vector<TextRemark> Look(std::string& text, bool& has_values);

 private:
  void LookAtEntry(const std::string& path, std::vector<TextRemark>& remarks);
  void LookAtVariable(const std::string& name, std::vector<TextRemark>& remarks) const;
  bool MayBeSet(const std::string& path);
  void ListNames();

  IDictionary& dictionary_;
  const Workflow& workflow_;
  bool is_listed_ = false;
  std::set<std::string> names_;         // of instances, and what their parameters say: nodes call their entries so
  std::vector<std::string> set_paths_;  // entries that parameters name: nodes write there
};

}  // namespace OrvWorkFlow::Flow
