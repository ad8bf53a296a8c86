#include "signalmediator/WorkNodeList.h"

#include <functional>
#include <utility>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow {

WorkNodeEntry::~WorkNodeEntry() {
  if (node == nullptr) return;
  try {
    node->Release();
  } catch (...) {  // The node is gone as far as the mediator is concerned.
  }
}

void WorkNodeEntry::RememberNames() noexcept {
  try {
    has_names = AskNames(*node, type, instance);
  } catch (...) {
    has_names = false;
  }
}

bool AskNames(IWorkNode& node, std::string& type, std::string& instance) {
  const Marshalled<IOrvPString> text;
  return text && node.GetTypeName(text.get()) && ReadText(text.get(), type) && node.GetInstanceName(text.get()) &&
         ReadText(text.get(), instance);
}

bool HasProperty(IWorkNode& node, const char* property) noexcept {
  std::string value;
  return FetchText(value, [&](IOrvPString* text) { return node.GetProperty(property, text); }) && value == "yes";
}

std::size_t WorkNodeList::NameHash::operator()(const Name& name) const noexcept {
  constexpr std::size_t kSpread = 31;
  const std::hash<std::string_view> hash;
  return hash(name.type) * kSpread + hash(name.instance);
}

void WorkNodeList::Append(const WorkNodePointer& entry) {
  const std::scoped_lock lock(mutex_);
  entries_.reserve(entries_.size() + 1 > entries_.capacity() ? entries_.size() * 2 + 10 : entries_.capacity());
  by_node_.emplace(entry->node, entry);
  try {
    if (entry->has_names) by_name_.try_emplace({entry->type, entry->instance}, entry);
  } catch (...) {
    by_node_.erase(entry->node);
    throw;
  }
  entries_.push_back(entry);
}

WorkNodePointer WorkNodeList::Find(std::string_view type, std::string_view instance) const {
  const std::scoped_lock lock(mutex_);
  const auto found = by_name_.find({type, instance});
  return found == by_name_.end() ? nullptr : found->second;
}

WorkNodePointer WorkNodeList::FindNode(const IWorkNode* node) const {
  const std::scoped_lock lock(mutex_);
  const auto found = by_node_.find(node);
  return found == by_node_.end() ? nullptr : found->second;
}

WorkNodeList::Snapshot WorkNodeList::Copy() const {
  const std::scoped_lock lock(mutex_);
  return entries_;
}

void WorkNodeList::Clear() noexcept {
  Snapshot entries;
  {
    const std::scoped_lock lock(mutex_);
    entries.swap(entries_);
    by_name_.clear();
    by_node_.clear();
  }
  for (WorkNodePointer& entry : entries) entry.reset();
}

}  // namespace OrvWorkFlow
