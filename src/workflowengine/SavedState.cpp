#include "workflowengine/SavedState.h"

#include <array>
#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow {
namespace {

// In the order of QueueEntry::Field.
constexpr std::array<const char*, QueueEntry::kFieldCount> kFieldKeys = {
    WorkflowSchema::kSenderTypeName,   WorkflowSchema::kSenderInstanceName,   WorkflowSchema::kOutgoingSignalName,
    WorkflowSchema::kReceiverTypeName, WorkflowSchema::kReceiverInstanceName, WorkflowSchema::kIncomingSignalName,
};

std::vector<std::string> ListChildren(IDictionary& dictionary, const char* path) {
  std::vector<std::string> names;
  const Marshalled<IOrvPStringList> list;
  if (list && dictionary.GetEntries(path, list.get())) ReadTexts(list.get(), names);
  return names;
}

bool WriteString(IDictionary& dictionary, const std::string& path, const char* value) {
  return dictionary.SetValue(path.c_str(), value);
}

std::string Below(const char* parent, const std::string& child) { return std::string(parent) + "/" + child; }

}  // namespace

std::string ReadString(IDictionary& dictionary, const std::string& path) {
  std::string value;
  FetchText(value, [&](IOrvPString* text) { return dictionary.GetValue(path.c_str(), text); });
  return value;
}

FlowRecord MakeFlowRecord(std::string name, std::string file_path) {
  const std::size_t cut = file_path.find_last_of("/\\");
  std::string directory = cut == std::string::npos ? std::string() : file_path.substr(0, cut);
  return {std::move(name), std::move(file_path), std::move(directory)};
}

bool WriteQueue(IDictionary& dictionary, const std::vector<QueueEntry>& entries) {
  dictionary.Delete(WorkflowSchema::kSignalQueue);
  const std::string prefix = std::string(WorkflowSchema::kSignalQueue) + WorkflowSchema::kQueueEntryPrefix;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string key = prefix + std::to_string(i);
    for (std::size_t field = 0; field < kFieldKeys.size(); ++field) {
      const char* text = entries[i].Text(static_cast<QueueEntry::Field>(field));
      if (!WriteString(dictionary, key + kFieldKeys[field], text)) return false;
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
  dictionary.Delete(WorkflowSchema::kWorkFlows);
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
  std::array<std::string, QueueEntry::kFieldCount> texts;
  for (const std::string& child : ListChildren(dictionary, WorkflowSchema::kSignalQueue)) {
    const std::string key = Below(WorkflowSchema::kSignalQueue, child);
    QueueEntry::Texts views;
    for (std::size_t field = 0; field < texts.size(); ++field) {
      texts[field] = ReadString(dictionary, key + kFieldKeys[field]);
      views[field] = texts[field];
    }
    queue.Append(QueueEntry(views));
  }
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
  for (const std::string& child : ListChildren(dictionary, WorkflowSchema::kWorkFlows)) {
    const std::string key = Below(WorkflowSchema::kWorkFlows, child);
    records.push_back(MakeFlowRecord(ReadString(dictionary, key + WorkflowSchema::kWorkFlowRecordName),
                                     ReadString(dictionary, key + WorkflowSchema::kWorkFlowRecordFilePath)));
  }
  return records;
}

std::string ReadWriteDirectory(IDictionary& dictionary, const std::string& workflow_name) {
  if (workflow_name.empty()) return {};
  const bool digit = workflow_name.front() >= '0' && workflow_name.front() <= '9';
  const std::string entry = digit ? "_" + workflow_name : workflow_name;
  return ReadString(dictionary, Below(WorkflowSchema::kDirectories, entry) + WorkflowSchema::kWriteDir);
}

}  // namespace OrvWorkFlow
