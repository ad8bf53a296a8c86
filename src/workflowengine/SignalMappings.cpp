#include "workflowengine/SignalMappings.h"

#include <array>
#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"

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

bool ListChildren(IDictionary& dictionary, const std::string& path, std::vector<std::string>& names) {
  const Marshalled<IOrvPStringList> list;
  return list && dictionary.GetEntries(path.c_str(), list.get()) && ReadTexts(list.get(), names);
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
    if (!ReadChild(dictionary, path, child, value) || !SplitMapping(value, receiver)) return mapped;
    mapped.receivers.emplace_back(QueueEntry::Texts{sender.type, sender.instance, sender.signal, receiver.type,
                                                    receiver.instance, receiver.signal});
  }
  mapped.outcome = MappedSignal::Outcome::Mapped;
  return mapped;
}

}  // namespace

bool AddMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver) {
  const std::string prefix = MapsPath(sender) + WorkflowSchema::kMapPrefix;
  for (std::uint64_t number = 0;; ++number) {
    const std::string path = prefix + std::to_string(number);
    if (!dictionary.Exists(path.c_str())) return dictionary.SetValue(path.c_str(), MappingValue(receiver).c_str());
  }
}

bool RemoveMapping(IDictionary& dictionary, const SignalName& sender, const SignalName& receiver) {
  const std::string path = MapsPath(sender);
  std::vector<std::string> children;
  if (!ListChildren(dictionary, path, children)) return false;
  const std::string wanted = MappingValue(receiver);
  std::string value;
  for (const std::string& child : children) {
    if (ReadChild(dictionary, path, child, value) && value == wanted) {
      return dictionary.Delete((path + "/" + child).c_str());
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
      dictionary.Delete((path + "/" + instance + WorkflowSchema::kMaps).c_str());
    }
  }
}

const MappedSignal& SignalMappings::Find(IDictionary& dictionary, const SignalName& sender) {
  key_.assign(sender.type).append(1, '\0').append(sender.instance).append(1, '\0').append(sender.signal);
  // Asked before the mappings are read: a change in between makes what is kept too old, never too new.
  const std::uint64_t change_count = dictionary.GetChangeCount();
  const auto place = known_.find(std::string_view(key_));
  if (place != known_.end() && place->second.dictionary == &dictionary && place->second.change_count == change_count) {
    return place->second.mapped;
  }
  MappedSignal mapped = ReadMappings(dictionary, sender);
  if (mapped.outcome == MappedSignal::Outcome::Failed) {
    failed_ = std::move(mapped);
    return failed_;
  }
  if (known_.size() >= kMostKnownSignals) known_.clear();
  Known& known = known_[key_];
  known = {&dictionary, change_count, std::move(mapped)};
  return known.mapped;
}

}  // namespace OrvWorkFlow
