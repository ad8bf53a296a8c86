#include "flow/model/FlowDifference.h"

#include <new>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/text/Suggestion.h"

namespace OrvWorkFlow::Flow {

namespace {

constexpr char kArrow[] = " \xE2\x86\x92 ";
constexpr char kNothing[] = "none";
constexpr std::size_t kMostLetters = 40;

// An ellipsis for its middle where it is long; whole characters.
std::string Short(const std::string& text) {
  if (text.size() <= kMostLetters) return text;
  const auto is_inside = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
  std::size_t head = kMostLetters / 2;
  std::size_t tail = text.size() - kMostLetters / 2;
  while (head > 0 && is_inside(head)) --head;
  while (tail < text.size() && is_inside(tail)) ++tail;
  return text.substr(0, head) + "\xE2\x80\xA6" + text.substr(tail);
}

std::string ValueAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  if (!dictionary.GetValueTexts(path.c_str(), texts.get())) return dictionary.Exists(path.c_str()) ? "" : kNothing;
  const std::vector<std::string> all = texts.Texts();
  if (all.size() != 1) return std::to_string(all.size()) + " items";
  return all[0].empty() ? "\"\"" : Short(all[0]);
}

std::string TypeAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextHolder type;
  return dictionary.GetAttribute(path.c_str(), "__type", type.get()) ? type.Text() : "no type";
}

// "Parameters/Overwrite" is called by its last name.
std::string Describe(IDictionary& before, IDictionary& after, const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::string old_value = ValueAt(before, path);
  const std::string new_value = ValueAt(after, path);
  if (old_value != new_value) return name + ": " + old_value + kArrow + new_value;
  const std::string old_type = TypeAt(before, path);
  const std::string new_type = TypeAt(after, path);
  return old_type == new_type ? name : name + ": " + old_type + kArrow + new_type;
}

}  // namespace

NodeChanges CompareNodes(IDictionary& before, IDictionary& after, const Workflow& workflow) {
  NodeChanges changes;
  for (const NodeType& type : workflow.types) {
    const std::string library = type.path + WorkflowSchema::kWin32Binary;
    for (const Instance& instance : type.instances) {
      if (!before.Exists(instance.path.c_str())) continue;
      const Sdk::TextListHolder list;
      if (!after.CompareSubtrees(instance.path.c_str(), &before, instance.path.c_str(), list.get())) {
        throw std::bad_alloc();
      }
      std::vector<std::string> lines;
      if (ValueAt(before, library) != ValueAt(after, library)) lines.push_back(Describe(before, after, library));
      for (const std::string& path : list.Texts()) {
        const bool is_mapping =
            path == WorkflowSchema::kMaps || path.starts_with(std::string(WorkflowSchema::kMaps) + "/");
        if (!is_mapping && !path.empty()) lines.push_back(Describe(before, after, instance.path + path));
      }
      if (!lines.empty()) changes.emplace(instance.path, std::move(lines));
    }
  }
  return changes;
}

}  // namespace OrvWorkFlow::Flow
