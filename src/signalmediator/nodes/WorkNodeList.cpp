#include "signalmediator/nodes/WorkNodeList.h"

#include <functional>
#include <utility>

#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Mediator {

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

bool PropertyQuestion::IsYes(IWorkNode& node) const noexcept {
  constexpr std::string_view kYes = "yes";
  if (!answer_) {  // There was no memory for it.
    std::string value;
    return FetchText(value, [&](IOrvPString* text) { return node.GetProperty(property_, text); }) && value == kYes;
  }
  return Base::Guarded([&] {
    return AssignText(answer_.get(), "") && node.GetProperty(property_, answer_.get()) &&
           std::string_view(answer_.get()->GetText(), answer_.get()->GetLength()) == kYes;
  });
}

std::size_t WorkNodeList::NameHash::operator()(const Name& name) const noexcept {
  constexpr std::size_t kSpread = 31;
  const std::hash<std::string_view> hash;
  return hash(name.type) * kSpread + hash(name.instance);
}

void WorkNodeList::Append(const WorkNodePointer& entry) {
  const Base::Hold lock(mutex_);
  const std::size_t index = entries_.size();
  entries_.push_back(entry);
  try {
    by_node_.emplace(entry->node, index);
    if (entry->has_names) by_name_.try_emplace({entry->type, entry->instance}, index);
  } catch (...) {
    by_node_.erase(entry->node);
    entries_.pop_back();
    throw;
  }
  changes_ = NextChange();
}

std::size_t WorkNodeList::IndexOf(std::string_view type, std::string_view instance) const {
  const auto found = by_name_.find({type, instance});
  return found == by_name_.end() ? Place::kNone : found->second;
}

WorkNodePointer WorkNodeList::Find(std::string_view type, std::string_view instance) const {
  const Base::Hold lock(mutex_);
  return At(IndexOf(type, instance));
}

WorkNodePointer WorkNodeList::FindNode(const IWorkNode* node) const {
  const Base::Hold lock(mutex_);
  const auto found = by_node_.find(node);
  return found == by_node_.end() ? nullptr : entries_[found->second];
}

WorkNodeList::Snapshot WorkNodeList::Copy() const {
  const Base::Hold lock(mutex_);
  return entries_;
}

void WorkNodeList::Clear() noexcept {
  Snapshot entries;
  {
    const Base::Hold lock(mutex_);
    entries.swap(entries_);
    changes_ = NextChange();
    by_name_.clear();
    by_node_.clear();
  }
  for (WorkNodePointer& entry : entries) {
    if (entry->locked_deliveries > 0) {
      WorkNodeEntry& known = *entry;
      known.forgotten = std::move(entry);
    }
    entry.reset();
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
