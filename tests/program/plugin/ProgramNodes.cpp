// Work nodes that misbehave, or never end, for tests of the program.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <thread>

#include "OrvWorkFlow/IHostRecord.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

// Fires "out" for every signal.
class EchoNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "EchoNode";
  EchoNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    FireOutput("out");
    return true;
  }
};

// Does not return for a minute.
class SleepingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "SleepingNode";
  SleepingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    std::this_thread::sleep_for(std::chrono::minutes(1));
    return true;
  }
};

// "refuse" is answered with false, "throw" with an exception, "tell" with the output signal "failed".
class FailingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "FailingNode";
  FailingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override {
    if (signal == "throw") throw std::runtime_error("as told");
    if (signal == "tell") FireOutput("failed");
    return signal != "refuse";
  }
};

// Works for a while outside of its signal, then fires "done".
class BusyNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "BusyNode";
  BusyNode() : Sdk::WorkNodeBase(kTypeName) {}

  bool GetProperty(const char* property_name, IOrvPString* value) override {
    if (property_name == nullptr || std::string_view(property_name) != "Busy") return false;
    return AssignText(value, busy_ ? "yes" : "no");
  }

 private:
  ~BusyNode() override {
    if (worker_.joinable()) worker_.join();
  }
  bool OnSignal(std::string_view /*signal*/) override {
    busy_ = true;
    worker_ = std::thread([this] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      FireOutput("done");
      busy_ = false;
    });
    return true;
  }

  std::atomic<bool> busy_ = false;
  std::thread worker_;
};

// An entry "/Counting/<name>" of the workflow's dictionary; 0 where there is none.
std::int32_t ReadCounting(IDictionary& dictionary, const std::string& name) {
  const std::string path = "/Counting/" + name;
  std::int32_t value = 0;
  if (!dictionary.GetValue(path.c_str(), &value) && dictionary.Exists(path.c_str())) throw std::bad_alloc();
  return value;
}

void SetCounting(IDictionary& dictionary, const std::string& name, std::int32_t value) {
  if (!dictionary.SetValue(("/Counting/" + name).c_str(), value)) throw std::bad_alloc();
}

// Writes a line to the file "/Counting/Log", if there is one, with one write.
void WriteCounting(IDictionary& dictionary, char letter, std::int32_t number) {
  const Sdk::TextHolder text;
  if (!dictionary.GetValue("/Counting/Log", text.get())) {
    if (dictionary.Exists("/Counting/Log")) throw std::bad_alloc();
    return;
  }
  const std::string file = text.Text();
  if (file.empty()) return;
  const std::string line = letter + std::to_string(number) + "\n";
  std::FILE* const stream = std::fopen(file.c_str(), "ab");
  if (stream == nullptr) throw std::runtime_error("cannot write " + file);
  const bool is_written = std::fwrite(line.data(), 1, line.size(), stream) == line.size();
  if (std::fclose(stream) != 0 || !is_written) throw std::runtime_error("cannot write " + file);
}

// "go": counts one further, writes "A<count>", fires "told" and, until the limit, "out".
class CountingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "CountingNode";
  CountingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    const std::int32_t count = ReadCounting(dictionary, "Count") + 1;
    SetCounting(dictionary, "Count", count);
    WriteCounting(dictionary, 'A', count);
    FireOutput("told");
    const std::int32_t limit = ReadCounting(dictionary, "Limit");
    if (limit == 0 || count < limit) FireOutput("out");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
  }
};

// "mark": counts one further and writes "B<count>".
class MarkingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "MarkingNode";
  MarkingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    const std::int32_t marks = ReadCounting(dictionary, "Marks") + 1;
    SetCounting(dictionary, "Marks", marks);
    WriteCounting(dictionary, 'B', marks);
    return true;
  }
};

constexpr NodeInput kTallyInputs[] = {{"go", "counts"}, {"end", "ends the run, or waits for it to be ended"}};
constexpr NodeOutput kTallyOutputs[] = {{"out", false, "until the limit"}, {"end", false, "at the limit"}};
constinit const NodeDescription kTallyDescription = {.sentence = "Counts in the dictionary",
                                                     .inputs = kTallyInputs,
                                                     .outputs = kTallyOutputs,
                                                     .state_in_dictionary = true,
                                                     .acts_outside = true};

// Has all its state in the dictionary. "go": counts "/Counting/<instance>" one further, writes "<instance><count>" and
// fires "out", at the limit "end". "end": is refused, so that the run keeps its state, or waits a minute while
// "/Counting/Hang" is 1. With "/Counting/Ballast" each count also writes a text of so many bytes. With
// "/Counting/Awaits" it says to the host that it waits for the record itself.
class TallyNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "TallyNode";
  TallyNode() : Sdk::WorkNodeBase(kTypeName, kTallyDescription) {}

 private:
  bool OnSignal(std::string_view signal) override {
    IDictionary& dictionary = WorkflowDictionary();
    if (signal == "end") {
      if (ReadCounting(dictionary, "Hang") == 1) std::this_thread::sleep_for(std::chrono::minutes(1));
      return false;
    }
    if (ReadCounting(dictionary, "Awaits") == 1) {
      Sdk::FindGlobal<IHostRecord>(ObjectNames::kHostApp, InterfaceNames::kHostRecord)
          ->AwaitsItself(TypeName().c_str(), InstanceName().c_str());
    }
    const std::int32_t count = ReadCounting(dictionary, InstanceName()) + 1;
    SetCounting(dictionary, InstanceName(), count);
    if (const std::int32_t ballast = ReadCounting(dictionary, "Ballast"); ballast > 0) {
      const std::string text(static_cast<std::size_t>(ballast), static_cast<char>('a' + count % 26));
      dictionary.SetValue("/Counting/Text", text.c_str());
    }
    WriteCounting(dictionary, InstanceName().front(), count);
    const std::int32_t limit = ReadCounting(dictionary, "Limit");
    if (InstanceName() == "A") FireOutput(count < limit ? "out" : "end");
    return true;
  }
};

// Maps its output "out" to what its signal is called, and fires it.
class RewiringNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "RewiringNode";
  RewiringNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override {
    const std::string entry = "/WorkFlowEngine/WorkNodes/RewiringNode/Instances/" + InstanceName() + "/maps/out/map0";
    WorkflowDictionary().SetValue(entry.c_str(), std::string(signal).c_str());
    FireOutput("out");
    return true;
  }
};

WorkFlowFactory echo_node(new (std::nothrow) Sdk::NodeCreator<EchoNode>);
WorkFlowFactory sleeping_node(new (std::nothrow) Sdk::NodeCreator<SleepingNode>);
WorkFlowFactory failing_node(new (std::nothrow) Sdk::NodeCreator<FailingNode>);
WorkFlowFactory busy_node(new (std::nothrow) Sdk::NodeCreator<BusyNode>);
WorkFlowFactory counting_node(new (std::nothrow) Sdk::NodeCreator<CountingNode>);
WorkFlowFactory marking_node(new (std::nothrow) Sdk::NodeCreator<MarkingNode>);
WorkFlowFactory tally_node(new (std::nothrow) Sdk::NodeCreator<TallyNode>);
WorkFlowFactory rewiring_node(new (std::nothrow) Sdk::NodeCreator<RewiringNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
