#include "nodes/task/ComingEntry.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kProgress[] = "Progress";
constexpr std::string_view kParameters = "Parameters";

std::vector<std::string_view> ComponentsOf(std::string_view path) {
  std::vector<std::string_view> components;
  while (!path.empty()) {
    const std::size_t end = path.find('/');
    if (end != 0) components.push_back(path.substr(0, end));
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return components;
}

}  // namespace

void KeepProgress(Sdk::NodeRecord record, std::vector<std::string> source, std::int64_t done) {
  source.push_back(std::to_string(done));
  record.SetTexts(kProgress, source);
}

std::int64_t TakeProgress(Sdk::NodeRecord record, const std::vector<std::string>& source) {
  const std::vector<std::string> texts = record.Texts(kProgress);
  record.Remove(kProgress);
  const bool is_same = texts.size() == source.size() + 1 && std::equal(source.begin(), source.end(), texts.begin());
  std::int64_t done = 0;
  if (is_same) std::from_chars(texts.back().data(), texts.back().data() + texts.back().size(), done);
  return done;
}

void ExpectReplaceable(const std::string& entry) {
  const std::vector<std::string_view> components = ComponentsOf(entry);
  if (components.empty()) throw std::runtime_error("no entry is given: the root is the whole workflow");
  if (components.front() != std::string_view(WorkflowSchema::kRoot).substr(1)) return;
  // WorkFlowEngine / WorkNodes / type / Instances / instance / Parameters
  const bool is_parameter = components.size() > 5 && components[5] == kParameters;
  if (is_parameter) return;
  throw std::runtime_error("the entry \"" + entry +
                           "\" belongs to the workflow itself: only parameters of instances can be replaced there");
}

void WriteEntry(IDictionary& dictionary, const std::string& entry, const std::string& text) {
  ExpectReplaceable(entry);
  if (!dictionary.SetValue(entry.c_str(), text.c_str())) {
    throw std::runtime_error("cannot write the entry \"" + entry + "\"");
  }
}

ComingEntry::ComingEntry(IDictionary& dictionary, const Sdk::NodeRecord& record, std::string target, Start start)
    : dictionary_(dictionary), path_(record.PathOf(kName)), target_(std::move(target)) {
  ExpectReplaceable(target_);
  if (start == Start::Anew) dictionary_.Delete(path_.c_str());
  // An entry without a value.
  if (!dictionary_.SetAttribute(path_.c_str(), "made", "1")) throw std::bad_alloc();
  dictionary_.RemoveAttribute(path_.c_str(), "made");
}

ComingEntry::~ComingEntry() {
  if (!is_kept_) dictionary_.Delete(path_.c_str());
}

std::string ComingEntry::Shown(std::string message) const {
  const std::size_t at = message.find(path_);
  return at == std::string::npos ? message : message.replace(at, path_.size(), target_);
}

void ComingEntry::Become() {
  if (!dictionary_.MoveSubtree(path_.c_str(), target_.c_str())) {
    throw std::runtime_error("cannot write the entry \"" + target_ + "\"");
  }
}

}  // namespace OrvWorkFlow::Nodes
