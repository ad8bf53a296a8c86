#include "workflowengine/SavedState.h"

#include <array>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "workflowengine/Entries.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

// In the order of QueueEntry::Field.
constexpr std::array<const char*, QueueEntry::kFieldCount> kFieldKeys = {
    WorkflowSchema::kSenderTypeName,   WorkflowSchema::kSenderInstanceName,   WorkflowSchema::kOutgoingSignalName,
    WorkflowSchema::kReceiverTypeName, WorkflowSchema::kReceiverInstanceName, WorkflowSchema::kIncomingSignalName,
};

bool WriteString(IDictionary& dictionary, const std::string& path, const char* value) {
  return dictionary.SetValue(path.c_str(), value);
}

// Reads saved entries. Those with the same texts, of which a queue usually has many, share one block of memory.
class EntryReader {
 public:
  explicit EntryReader(IDictionary& dictionary) : dictionary_(dictionary) {}

  QueueEntry Read(const std::string& child) {
    path_.assign(WorkflowSchema::kSignalQueue).append("/").append(child);
    const std::size_t key = path_.size();
    texts_.clear();
    std::array<std::size_t, QueueEntry::kFieldCount> ends{};
    for (std::size_t field = 0; field < ends.size(); ++field) {
      path_.resize(key);
      path_ += kFieldKeys[field];
      if (text_ && dictionary_.GetValue(path_.c_str(), text_.get())) {
        texts_ += text_.get()->GetText();  // as far as a zero in it, if there is one
      } else {
        ThrowIfString(dictionary_, path_.c_str());
      }
      texts_ += '\0';
      ends[field] = texts_.size();
    }
    const auto known = known_.find(texts_);
    return known != known_.end() ? known->second : known_.emplace(texts_, MakeEntry(ends)).first->second;
  }

 private:
  QueueEntry MakeEntry(const std::array<std::size_t, QueueEntry::kFieldCount>& ends) const {
    QueueEntry::Texts views;
    std::size_t begin = 0;
    for (std::size_t field = 0; field < ends.size(); ++field) {
      views[field] = std::string_view(texts_).substr(begin, ends[field] - begin - 1);
      begin = ends[field];
    }
    return QueueEntry(views);
  }

  IDictionary& dictionary_;
  const Marshalled<IOrvPString> text_;
  std::string path_;
  std::string texts_;  // each with a zero behind it
  std::unordered_map<std::string, QueueEntry> known_;
};

}  // namespace

bool WriteQueue(IDictionary& dictionary, const std::vector<QueueEntry>& entries) {
  if (!Remove(dictionary, WorkflowSchema::kSignalQueue)) return false;
  std::string path = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  const std::size_t prefix = path.size();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    path.resize(prefix);
    path += std::to_string(i);
    const std::size_t key = path.size();
    for (std::size_t field = 0; field < kFieldKeys.size(); ++field) {
      path.resize(key);
      path += kFieldKeys[field];
      if (!dictionary.SetValue(path.c_str(), entries[i].Text(static_cast<QueueEntry::Field>(field)))) return false;
    }
  }
  return true;
}

bool WriteStartSignal(IDictionary& dictionary, const StartSignal& signal) {
  const std::string key = WorkflowSchema::kStartSignal;
  return WriteString(dictionary, key + WorkflowSchema::kReceiverTypeName, signal.type.c_str()) &&
         WriteString(dictionary, key + WorkflowSchema::kReceiverInstanceName, signal.instance.c_str()) &&
         WriteString(dictionary, key + WorkflowSchema::kIncomingSignalName, signal.signal.c_str());
}

bool WriteFlowRecords(IDictionary& dictionary, const std::vector<FlowRecord>& records) {
  if (!Remove(dictionary, WorkflowSchema::kWorkFlows)) return false;
  const std::string prefix = std::string(WorkflowSchema::kWorkFlows) + WorkflowSchema::kWorkFlowPrefix;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::string key = prefix + std::to_string(i);
    if (!WriteString(dictionary, key + WorkflowSchema::kWorkFlowRecordName, records[i].name.c_str()) ||
        !WriteString(dictionary, key + WorkflowSchema::kWorkFlowRecordFilePath, records[i].file_path.c_str())) {
      return false;
    }
  }
  return true;
}

SignalQueue ReadQueue(IDictionary& dictionary) {
  SignalQueue queue;
  EntryReader reader(dictionary);
  for (const std::string& child : ChildrenOf(dictionary, WorkflowSchema::kSignalQueue))
    queue.Append(reader.Read(child));
  return queue;
}

StartSignal ReadStartSignal(IDictionary& dictionary) {
  const std::string key = WorkflowSchema::kStartSignal;
  return {ReadString(dictionary, key + WorkflowSchema::kReceiverTypeName),
          ReadString(dictionary, key + WorkflowSchema::kReceiverInstanceName),
          ReadString(dictionary, key + WorkflowSchema::kIncomingSignalName)};
}

std::vector<FlowRecord> ReadFlowRecords(IDictionary& dictionary) {
  std::vector<FlowRecord> records;
  for (const std::string& child : ChildrenOf(dictionary, WorkflowSchema::kWorkFlows)) {
    const std::string key = Below(WorkflowSchema::kWorkFlows, child);
    records.push_back({ReadString(dictionary, key + WorkflowSchema::kWorkFlowRecordName),
                       ReadString(dictionary, key + WorkflowSchema::kWorkFlowRecordFilePath)});
  }
  return records;
}

std::string ReadWriteDirectory(IDictionary& dictionary, const std::string& workflow_name) {
  if (workflow_name.empty()) return {};
  const bool digit = workflow_name.front() >= '0' && workflow_name.front() <= '9';
  const std::string entry = digit ? "_" + workflow_name : workflow_name;
  return ReadString(dictionary, Below(WorkflowSchema::kDirectories, entry) + WorkflowSchema::kWriteDir);
}

}  // namespace OrvWorkFlow::Core::Engine
