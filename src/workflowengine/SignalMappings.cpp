#include "workflowengine/SignalMappings.h"

#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/lock/Mutex.h"
#include "workflowengine/Entries.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

// Senders beyond this number make MappingAdder start anew.
constexpr std::size_t kMostKnownSenders = 4096;

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

// False for names that lead elsewhere than to the maps of an instance.
bool IsWatched(const SignalName& sender) {
  const auto is_one_component = [](std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos;
  };
  return is_one_component(sender.type) && is_one_component(sender.instance);
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
      mapped.no_memory = !is_text && dictionary.GetValueType(Below(path, child).c_str()) == ValueType::String;
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

bool MappingAdder::Add(const SignalName& sender, const SignalName& receiver) {
  const std::string maps_path = MapsPath(sender);
  const std::string value = MappingValue(receiver);
  const Base::Hold lock(mutex_);
  const WatchedState before = dictionary_.Get();
  if (before.dictionary == nullptr) return false;
  const std::uint64_t number = FindFree(before, maps_path);
  const std::string path = maps_path + WorkflowSchema::kMapPrefix + std::to_string(number);
  if (!before.dictionary->SetValue(path.c_str(), value.c_str())) return false;
  const WatchedState after = dictionary_.Get();
  const bool is_this_change = after.dictionary == before.dictionary && after.number == before.number + 1;
  // One change, this one: what is remembered of other senders still holds.
  if (state_ != before || !is_this_change) next_.clear();
  if (is_this_change) Remember(after, maps_path, number + 1);
  return true;
}

void MappingAdder::Remember(const WatchedState& state, const std::string& maps_path, std::uint64_t next) {
  if (next_.size() >= kMostKnownSenders) next_.clear();
  next_[maps_path] = next;
  state_ = state;
}

std::uint64_t MappingAdder::FindFree(const WatchedState& state, const std::string& maps_path) {
  IDictionary& dictionary = *state.dictionary;
  std::uint64_t number = 0;
  if (state_ == state) {
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
  for (const std::string& type : ChildrenOf(dictionary, WorkflowSchema::kWorkNodes)) {
    const std::string path = InstancesPath(type);
    for (const std::string& instance : ChildrenOf(dictionary, path)) {
      dictionary.Delete((Below(path, instance) + WorkflowSchema::kMaps).c_str());
    }
  }
}

const MappedSignal& SignalMappings::FindByText(const WatchedState& now, const SenderTexts& texts) {
  const SignalName sender = texts;
  key_.assign(sender.type).append(1, '\0').append(sender.instance).append(1, '\0').append(sender.signal);
  auto place = known_.find(std::string_view(key_));
  if (place == known_.end() || place->second.state != now) {
    MappedSignal mapped = ReadMappings(*now.dictionary, sender);
    if (mapped.outcome == MappedSignal::Outcome::Failed || !IsWatched(sender)) {
      not_kept_ = std::move(mapped);
      return not_kept_;
    }
    if (place == known_.end()) place = MakeRoomFor(key_);
    place->second = {now, std::move(mapped)};
  }
  const char* const key = place->first.c_str();
  const char* const instance = key + sender.type.size() + 1;
  recent_[RecentSlot(texts)] = {key, instance, instance + sender.instance.size() + 1, &place->second};
  return place->second.mapped;
}

SignalMappings::KnownSignals::iterator SignalMappings::MakeRoomFor(const std::string& key) {
  if (known_.size() >= most_known_) ForgetOne();
  return known_.try_emplace(key).first;
}

// Any one: where more signals are fired in turn than are kept, the oldest would always be the next to be looked for.
void SignalMappings::ForgetOne() noexcept {
  recent_.fill({});
  next_forgotten_ = next_forgotten_ * 1664525 + 1013904223;
  std::size_t bucket = next_forgotten_ % known_.bucket_count();
  while (known_.bucket_size(bucket) == 0) bucket = (bucket + 1) % known_.bucket_count();
  known_.erase(known_.find(known_.begin(bucket)->first));
}

}  // namespace OrvWorkFlow::Core::Engine
