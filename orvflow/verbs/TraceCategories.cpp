#include "orvflow/verbs/TraceCategories.h"

#include <algorithm>

#include "base/text/Suggestion.h"

namespace OrvWorkFlow::Program {

namespace {

std::string_view WithoutSlash(std::string_view name) { return name.starts_with('/') ? name.substr(1) : name; }

std::string_view LastPart(std::string_view name) { return name.substr(name.rfind('/') + 1); }

}  // namespace

// Names as the library writes them, the old misspelling included.
const std::vector<TraceCategory>& TraceCategories() {
  static const std::vector<TraceCategory> categories = {
      {"workflow/Signal", "an output signal is mapped and queued"},
      {"workflow/IgnoredSingals", "an output signal that nothing takes"},
      {"workflow/FireAllReadySignals", "the queue is handed over; a workflow is absorbed"},
      {"workflow/UpdateAbsorbTree", "an absorbed workflow is placed in the tree"},
      {"/workflow/signalpump", "the engine's thread wakes up"},
      {"/workflow/signalmediator/FireInputSignal", "a signal is on its way to a node"},
      {"/workflow/signalmediator/Signal", "a node gets a signal or fires one, and how it answers"},
      {"/workflow/signalmediator/loadworknodes", "types and libraries of nodes are loaded"},
      {"/workflow/signalmediator/instantiate_worknode_instance", "a node is made"},
      {"/workflow/signalmediator/StopAllWorkNodes", "the nodes are asked to stop"},
      {"/workflow/signalmediator/loadstate", "utility objects are loaded"},
      {"/workflow/signalmediator/SaveState", "utility objects and nodes are saved"},
      {"/workflow/signalmediator/SaveWorkNodes", "a node is saved"},
      {"/workflow/signalmediator/SaveGlobalUtilityObjects", "a utility object is saved"},
      {"/workflow/signalmediator/GetAllContentDirectories", "where a node looks for its files"},
      {"/workflow/signalmediator/GetInstantiatedWorknodesThatCallAbsorb", "nodes that absorb workflows are looked for"},
      {"/workflow/workflowengine/loadstate", "the engine reads a workflow or a state"},
      {"/workflow/workflowengine/SaveState", "the engine saves a state"},
      {"/workflow/dictionary", "a dictionary cannot encipher its file"},
      {"/workflow/default", "lines that name no category"},
  };
  return categories;
}

std::string TraceCategoriesText() {
  std::string text;
  for (const TraceCategory& category : TraceCategories()) {
    text.append(category.name).append("\n    ").append(category.sentence).append("\n");
  }
  return text;
}

bool IsTraceCategory(std::string_view prefix) {
  return std::any_of(TraceCategories().begin(), TraceCategories().end(), [&](const TraceCategory& category) {
    return WithoutSlash(category.name).starts_with(WithoutSlash(prefix));
  });
}

std::string SuggestTraceCategory(std::string_view wrong) {
  // One that only lacks what stands before its last part is meant as it is.
  std::vector<std::string> names;
  std::vector<std::string> last_parts;
  for (const TraceCategory& category : TraceCategories()) {
    if (WithoutSlash(wrong) == LastPart(category.name)) return "; did you mean " + std::string(category.name) + "?";
    names.emplace_back(category.name);
    last_parts.emplace_back(LastPart(category.name));
  }
  const std::string suggestion = Base::Suggest(wrong, names);
  return suggestion.empty() ? Base::Suggest(LastPart(wrong), last_parts) : suggestion;
}

}  // namespace OrvWorkFlow::Program
