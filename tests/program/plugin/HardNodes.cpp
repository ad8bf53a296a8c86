// Work nodes that take their time, fail as long as they are told to, or end the process.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/CurrentDelivery.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {
namespace {

std::int32_t ReadNumber(IDictionary& dictionary, const char* path) {
  std::int32_t value = 0;
  dictionary.GetValue(path, &value);
  return value;
}

// "go": takes "/Counting/Milliseconds", then counts one further in "/Counting/Pauses" and writes "P<count>" to the file
// "/Counting/Log", if there is one.
class PausingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "PausingNode";
  PausingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    std::this_thread::sleep_for(std::chrono::milliseconds(ReadNumber(dictionary, "/Counting/Milliseconds")));
    const std::int32_t count = ReadNumber(dictionary, "/Counting/Pauses") + 1;
    dictionary.SetValue("/Counting/Pauses", count);
    const std::string file =
        Sdk::TextFrom([&](IOrvPString* text) { return dictionary.GetValue("/Counting/Log", text); });
    if (file.empty()) return true;
    std::FILE* const stream = std::fopen(file.c_str(), "ab");
    if (stream == nullptr) throw std::runtime_error("cannot write " + file);
    std::fprintf(stream, "P%d\n", static_cast<int>(count));
    std::fclose(stream);
    return true;
  }
};

// "heal" fails until "/Counting/Limit" is no longer 0; then it fires "healed".
class HealingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "HealingNode";
  HealingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    if (ReadNumber(WorkflowDictionary(), "/Counting/Limit") == 0) throw std::runtime_error("still ill");
    FireOutput("healed");
    return true;
  }
};

// "die" ends the process.
class DyingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "DyingNode";
  DyingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override { std::_Exit(99); }
};

constexpr NodeInput kPickyInputs[] = {{"die", "ends the process"},
                                      {"one", "fails until it may not"},
                                      {"two", "fails until it may not"},
                                      {"three", "fails until it may not"}};
constexpr NodeOutput kPickyOutputs[] = {{"healed", false, "then"}};
constinit const NodeDescription kPickyDescription = {.sentence = "Fails and ends the process",
                                                     .inputs = kPickyInputs,
                                                     .outputs = kPickyOutputs,
                                                     .state_in_dictionary = true};

// Appends key and attempt of the delivery to the file at "/Counting/Deliveries", if there is one.
void WriteDelivery(IDictionary& dictionary) {
  const Sdk::TextHolder file;
  if (!dictionary.GetValue("/Counting/Deliveries", file.get())) return;
  const std::optional<Sdk::Delivery> delivery = Sdk::CurrentDelivery();
  std::ofstream log(file.Text(), std::ios::app | std::ios::binary);
  log << (delivery ? delivery->Key() + " " + std::to_string(delivery->attempt) : "none") << '\n';
}

// Has all its state in the dictionary. "die" ends the process while "/Counting/Deadly" is not 0, all else fails while
// "/Counting/Ill" is not 0; else they fire "healed". Each writes which delivery it is.
class PickyNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "PickyNode";
  PickyNode() : Sdk::WorkNodeBase(kTypeName, kPickyDescription) {}

 private:
  bool OnSignal(std::string_view signal) override {
    IDictionary& dictionary = WorkflowDictionary();
    WriteDelivery(dictionary);
    if (signal == "die") {
      if (ReadNumber(dictionary, "/Counting/Deadly") != 0) std::_Exit(99);
    } else if (ReadNumber(dictionary, "/Counting/Ill") != 0) {
      throw std::runtime_error("still ill");
    }
    FireOutput("healed");
    return true;
  }
};

WorkFlowFactory pausing_node(new (std::nothrow) Sdk::NodeCreator<PausingNode>);
WorkFlowFactory healing_node(new (std::nothrow) Sdk::NodeCreator<HealingNode>);
WorkFlowFactory dying_node(new (std::nothrow) Sdk::NodeCreator<DyingNode>);
WorkFlowFactory picky_node(new (std::nothrow) Sdk::NodeCreator<PickyNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
