// What is wrong with a workflow, or may be.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

namespace OrvWorkFlow::Flow {

enum class Severity {
  Error,    // the workflow cannot do what is written there: it is not begun
  Warning,  // it can be begun, and is hardly meant so
  Note,     // worth a look
};

enum class Area {
  Wiring,   // the dictionary: names, signals, mappings, parameters
  Plugins,  // the libraries that hold the nodes and objects
};

struct Finding {
  Severity severity = Severity::Error;
  Area area = Area::Wiring;
  std::string path;    // of the dictionary
  std::string what;    // is wrong
  std::string remedy;  // "" where there is none to name
};

// All findings, in the order in which they were made.
using Findings = std::vector<Finding>;

inline bool HasErrors(const Findings& findings) {
  return std::any_of(findings.begin(), findings.end(), [](const Finding& f) { return f.severity == Severity::Error; });
}

}  // namespace OrvWorkFlow::Flow
