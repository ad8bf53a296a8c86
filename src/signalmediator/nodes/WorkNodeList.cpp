#include "signalmediator/nodes/WorkNodeList.h"

#include <algorithm>
#include <functional>
#include <utility>

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

bool PropertyQuestion::IsYesWithoutAnswer(IWorkNode& node) const noexcept {
  std::string value;
  return FetchText(value, [&](IOrvPString* text) { return node.GetProperty(property_, text); }) && value == kYes;
}

std::size_t WorkNodeList::NameHash::operator()(const Name& name) const noexcept {
  constexpr std::size_t kSpread = 31;
  const std::hash<std::string_view> hash;
  return hash(name.type) * kSpread + hash(name.instance);
}

void WorkNodeList::Append(const WorkNodePointer& entry) {
  const Base::Hold lock(mutex_);
  const std::size_t index = entries_.size();
  List(entry);
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

// In the place of the next entry: as long as there is none, nobody sees it.
void WorkNodeList::List(const WorkNodePointer& entry) {
  const std::size_t index = entries_.size();
  constexpr std::size_t kInRow = std::tuple_size_v<Row>;
  if (rows_.size() * kInRow == index) rows_.emplace_back();
  rows_.back()[index % kInRow] = {entry->node, entry.get(), entry->type == kAbsorbingType};
}

WorkNodeList::Walk::Walk(WorkNodeList& list) : list_(list) {
  const Base::Hold lock(list_.mutex_);
  size_ = list_.entries_.size();
  first_ = list_.rows_.begin();
  ++list_.walks_;
  list_.walked_ = std::max(list_.walked_, size_);
}

WorkNodeList::Walk::~Walk() {
  WorkNodePointer kept;
  Rows rows;
  {
    const Base::Hold lock(list_.mutex_);
    if (--list_.walks_ > 0) return;
    list_.walked_ = 0;
    kept.swap(list_.first_kept_);
    list_.last_kept_ = nullptr;
    rows.swap(list_.kept_rows_);
  }
  while (kept != nullptr) kept = WorkNodePointer(std::move(kept->kept_behind));
}

// Takes no memory.
void WorkNodeList::KeepForWalks(const Snapshot& entries) noexcept {
  for (std::size_t i = 0; i < walked_; ++i) {
    (last_kept_ == nullptr ? first_kept_ : last_kept_->kept_behind) = entries[i];
    last_kept_ = entries[i].get();
  }
  walked_ = 0;
}

void WorkNodeList::Clear() noexcept {
  Snapshot entries;
  Rows rows;
  {
    const Base::Hold lock(mutex_);
    KeepForWalks(entries_);
    if (walks_ > 0) {
      kept_rows_.splice(kept_rows_.end(), rows_);
    } else {
      rows.swap(rows_);
    }
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
