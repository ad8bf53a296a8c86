// The engine's state as it stands in the workflow's dictionary.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow::Core::Engine {

// The first input signal of a workflow; an empty type means none.
struct StartSignal {
  std::string type;
  std::string instance;
  std::string signal;
};

// An absorbed workflow.
struct FlowRecord {
  std::string name;
  std::string file_path;  // as it was given: a workflow path or a platform path
};

// Writing replaces what stood there before. False when the dictionary refuses; what was written by then stays.
bool WriteQueue(IDictionary& dictionary, const std::vector<QueueEntry>& entries);
bool WriteStartSignal(IDictionary& dictionary, const StartSignal& signal);
bool WriteFlowRecords(IDictionary& dictionary, const std::vector<FlowRecord>& records);

// In the order in which the dictionary lists the entries; what is missing is empty. What is there and cannot be read is
// not missing: they throw std::bad_alloc.
SignalQueue ReadQueue(IDictionary& dictionary);
StartSignal ReadStartSignal(IDictionary& dictionary);
std::vector<FlowRecord> ReadFlowRecords(IDictionary& dictionary);

// "" when the workflow has none. A workflow name that begins with a digit stands there with a leading "_".
std::string ReadWriteDirectory(IDictionary& dictionary, const std::string& workflow_name);

}  // namespace OrvWorkFlow::Core::Engine
