#include "workflowengine/SignalMappings.h"

#include <mutex>
#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "workflowengine/Entries.h"

namespace OrvWorkFlow {
namespace {

// Senders beyond this number make the cache start anew, so that made-up signal names cannot fill the memory.
constexpr std::size_t kMostKnownSignals = 4096;

std::string InstancesPath(std::string_view type) {
  std::string path(WorkflowSchema::kWorkNodes);
  path.append("/").append(type).append(WorkflowSchema::kInstances);
  return path;
}

std::string MapsPath(const SignalName& sender) {
  std::string path = InstancesPath(sender.type);
  path.append("/").append(sender.instance).append(WorkflowSchema::kMaps).append("/").append(sender.signal);
  return path;
}

std::string MappingValue(const SignalName& receiver) {
  std::string value(receiver.type);
  value.append(",").append(receiver.instance).append(",").append(receiver.signal);
  return value;
}

bool ReadChild(IDictionary& dictionary, const std::string& path, const std::string& child, std::string& value) {
  const std::string child_path = path + "/" + child;
  return FetchText(value, [&](IOrvPString* text) { return dictionary.GetValue(child_path.c_str(), text); });
}

// True when there are exactly three parts; empty parts count.
bool SplitMapping(std::string_view value, SignalName& receiver) {
  const std::size_t first = value.find(',');
  if (first == std::string_view::npos) return false;
  const std::size_t second = value.find(',', first + 1);
  if (second == std::string_view::npos || value.find(',', second + 1) != std::string_view::npos) return false;
  receiver = {value.substr(0, first), value.substr(first + 1, second - first - 1), value.substr(second + 1)};
  return true;
}

MappedSignal ReadMappings(IDictionary& dictionary, const SignalName& sender) {
  MappedSignal mapped;
  const std::string path = MapsPath(sender);
  std::vector<std::string> children;
  if (!ListChildren(dictionary, path, children)) {
    if (!dictionary.Exists(path.c_str())) mapped.outcome = MappedSignal::Outcome::NoMapsKey;
    return mapped;
  }
  std::string value;
  for (const std::string& child : children) {
    SignalName receiver;
    const bool is_text = ReadChild(dictionary, path, child, value);
    if (!is_text || !SplitMapping(value, receiver)) {
      mapped.unread_child = child;
      if (is_text) mapped.unread_text = std::move(value);
      return mapped;
    }
    mapped.receivers.emplace_back(QueueEntry::Texts{sender.type, sender.instance, sender.signal, receiver.type,
                                                    receiver.instance, receiver.signal});
  }
  mapped.outcome = MappedSignal::Outcome::Mapped;
  return mapped;
}

}  // namespace

std::string MappingPath(const SignalName& sender, const std::string& child) {
  return child.empty() ? MapsPath(sender) : Below(MapsPath(sender), child);
}

bool MappingAdder::Add(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver) {
  const std::string maps_path = MapsPath(sender);
  const std::string value = MappingValue(receiver);
  const std::scoped_lock lock(mutex_);
  const std::uint64_t before = dictionary.GetChangeCount();
  const std::uint64_t number = FindFree(dictionary, maps_path, before);
  const std::string path = maps_path + WorkflowSchema::kMapPrefix + std::to_string(number);
  if (!dictionary.SetValue(path.c_str(), value.c_str())) return false;
  const std::uint64_t after = dictionary.GetChangeCount();
  // One change, this one: what is remembered of other senders still holds.
  if (dictionary_ != &dictionary || change_count_ != before || after != before + 1) next_.clear();
  if (after == before + 1) Remember(dictionary, maps_path, number + 1, after);
  return true;
}

void MappingAdder::Remember(const IDictionary& dictionary, const std::string& maps_path, std::uint64_t next,
                            std::uint64_t change_count) {
  if (next_.size() >= kMostKnownSignals) next_.clear();
  next_[maps_path] = next;
  dictionary_ = &dictionary;
  change_count_ = change_count;
}

std::uint64_t MappingAdder::FindFree(IDictionary& dictionary, const std::string& maps_path,
                                     std::uint64_t change_count) {
  std::uint64_t number = 0;
  if (dictionary_ == &dictionary && change_count_ == change_count) {
    const auto known = next_.find(maps_path);
    if (known != next_.end()) number = known->second;
  }
  if (number == 0) {
    std::vector<std::string> children;
    ListChildren(dictionary, maps_path, children);
    number = LowestFreeNumber(children, std::string_view(WorkflowSchema::kMapPrefix).substr(1));
  }
  const std::string prefix = maps_path + WorkflowSchema::kMapPrefix;
  while (dictionary.Exists((prefix + std::to_string(number)).c_str())) ++number;
  return number;
}

bool RemoveMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver) {
  const std::string path = MapsPath(sender);
  std::vector<std::string> children;
  if (!ListChildren(dictionary, path, children)) return false;
  const std::string wanted = MappingValue(receiver);
  std::string value;
  for (const std::string& child : children) {
    if (ReadChild(dictionary, path, child, value) && value == wanted) {
      return dictionary.Delete(Below(path, child).c_str());
    }
  }
  return false;
}

void RemoveAllMappings(IDictionary& dictionary) {
  std::vector<std::string> types;
  ListChildren(dictionary, WorkflowSchema::kWorkNodes, types);
  for (const std::string& type : types) {
    const std::string path = InstancesPath(type);
    std::vector<std::string> instances;
    ListChildren(dictionary, path, instances);
    for (const std::string& instance : instances) {
      dictionary.Delete((Below(path, instance) + WorkflowSchema::kMaps).c_str());
    }
  }
}

std::size_t SignalMappings::RecentSlot(const SignalName& sender) noexcept {
  constexpr int kWithinABlock = 3;  // these bits of an address hardly differ
  const auto address = [](std::string_view text) { return reinterpret_cast<std::uintptr_t>(text.data()); };
  return ((address(sender.type) ^ address(sender.instance) * 3 ^ address(sender.signal) * 5) >> kWithinABlock) %
         kRecentSenders;
}

bool SignalMappings::IsKeyOf(std::string_view key, const SignalName& sender) noexcept {
  const std::size_t second = sender.type.size() + 1;
  const std::size_t third = second + sender.instance.size() + 1;
  return key.size() == third + sender.signal.size() && key.starts_with(sender.type) &&
         key.substr(second).starts_with(sender.instance) && key.ends_with(sender.signal) && key[second - 1] == '\0' &&
         key[third - 1] == '\0';
}

const MappedSignal& SignalMappings::Find(IDictionary& dictionary, const SignalName& sender) {
  // Asked before the mappings are read: a change in between makes what is kept too old, never too new.
  const std::uint64_t change_count = dictionary.GetChangeCount();
  const auto& [key, known] = recent_[RecentSlot(sender)];
  if (known != nullptr && known->IsCurrent(dictionary, change_count) && IsKeyOf(key, sender)) return known->mapped;
  return FindByText(dictionary, change_count, sender);
}

const MappedSignal& SignalMappings::FindByText(IDictionary& dictionary, std::uint64_t change_count,
                                               const SignalName& sender) {
  key_.assign(sender.type).append(1, '\0').append(sender.instance).append(1, '\0').append(sender.signal);
  auto place = known_.find(std::string_view(key_));
  if (place == known_.end() || !place->second.IsCurrent(dictionary, change_count)) {
    MappedSignal mapped = ReadMappings(dictionary, sender);
    if (mapped.outcome == MappedSignal::Outcome::Failed) {
      failed_ = std::move(mapped);
      return failed_;
    }
    if (place == known_.end()) {
      if (known_.size() >= kMostKnownSignals) Forget();
      place = known_.try_emplace(key_).first;
    }
    place->second = {&dictionary, change_count, std::move(mapped)};
  }
  recent_[RecentSlot(sender)] = {place->first, &place->second};
  return place->second.mapped;
}

}  // namespace OrvWorkFlow
