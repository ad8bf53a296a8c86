// Work nodes that do something else when a file says so, as a plug-in does that was changed since a run was recorded.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

constexpr NodeInput kInputs[] = {{"go", "counts"}};
constexpr NodeOutput kOutputs[] = {{"out", false, "until the limit"}, {"told", false, "always"}};
constinit const NodeDescription kFickleDescription = {
    .sentence = "Counts, as it likes", .inputs = kInputs, .outputs = kOutputs, .state_in_dictionary = true};
constinit const NodeDescription kRememberingDescription = {
    .sentence = "Counts on its own", .inputs = kInputs, .outputs = kOutputs};

std::int32_t ReadNumber(IDictionary& dictionary, const char* path) {
  std::int32_t value = 0;
  dictionary.GetValue(path, &value);
  return value;
}

// The first word of the file "/Counting/Mode"; "" where there is none.
std::string ReadMode(IDictionary& dictionary) {
  const std::string file =
      Sdk::TextFrom([&](IOrvPString* text) { return dictionary.GetValue("/Counting/Mode", text); });
  std::FILE* const stream = file.empty() ? nullptr : std::fopen(file.c_str(), "rb");
  if (stream == nullptr) return {};
  char word[32] = {};
  const bool is_read = std::fscanf(stream, "%31s", word) == 1;
  std::fclose(stream);
  return is_read ? word : "";
}

// A sanitizer would end the process by itself, before the crash.
__attribute__((no_sanitize("undefined"))) void Break(const std::string& mode) {
  if (mode == "crash") {
    int* volatile nowhere = nullptr;
    *nowhere = 1;
  }
  if (mode == "exit") std::exit(0);
  if (mode == "hang") std::this_thread::sleep_for(std::chrono::minutes(1));
  if (mode == "throw") throw std::runtime_error("as it likes");
}

// "go": counts "/Counting/Fickle" one further, writes what a MeddlingNode has written to "/Counting/Seen", fires "told"
// and, until the limit, "out". The third time it does what the mode says.
class FickleNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "FickleNode";
  FickleNode() : Sdk::WorkNodeBase(kTypeName, kFickleDescription) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    const std::int32_t count = ReadNumber(dictionary, "/Counting/Fickle") + 1;
    const std::string mode = count == 3 ? ReadMode(dictionary) : "";
    Break(mode);
    dictionary.SetValue("/Counting/Fickle", mode == "write" ? count + 1 : count);
    if (mode == "clock" || ReadMode(dictionary) == "always-clock") {
      const auto now = std::chrono::system_clock::now().time_since_epoch().count();
      dictionary.SetValue("/Counting/When", std::to_string(now).c_str());
    }
    const std::int32_t meddled = ReadNumber(dictionary, "/Counting/Meddled");
    if (meddled != 0) dictionary.SetValue("/Counting/Seen", meddled);
    const bool goes_on = count < ReadNumber(dictionary, "/Counting/Limit");
    if (mode == "order" && goes_on) FireOutput("out");
    FireOutput("told");
    if (mode != "order" && goes_on) FireOutput("out");
    return mode != "refuse";
  }
};

// "go": counts in a member, writes that to "/Counting/Remembered" and the delivery's key to "/Counting/Key", fires
// "told" and, until the limit, "out". Refuses while "/Counting/Ill" is 1.
class RememberingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "RememberingNode";
  RememberingNode() : Sdk::WorkNodeBase(kTypeName, kRememberingDescription) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    dictionary.SetValue("/Counting/Remembered", ++count_);
    const std::optional<Sdk::Delivery> delivery = Sdk::CurrentDelivery();
    dictionary.SetValue("/Counting/Key", delivery ? delivery->Key().c_str() : "none");
    if (count_ < ReadNumber(dictionary, "/Counting/Limit")) FireOutput("out");
    FireOutput("told");
    return ReadNumber(dictionary, "/Counting/Ill") == 0;
  }

  std::int32_t count_ = 0;
};

// "go": fires "told", and "out" when a thread of its own has counted "/Counting/Meddled" to 2,000.
class MeddlingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "MeddlingNode";
  MeddlingNode() : Sdk::WorkNodeBase(kTypeName, kFickleDescription) {}

  bool GetProperty(const char* property_name, IOrvPString* value) override {
    if (property_name == nullptr || std::string_view(property_name) != "Busy") return false;
    return AssignText(value, is_busy_ ? "yes" : "no");
  }

 private:
  ~MeddlingNode() override {
    if (worker_.joinable()) worker_.join();
  }
  bool OnSignal(std::string_view /*signal*/) override {
    is_busy_ = true;
    worker_ = std::thread([this] {
      for (std::int32_t i = 1; i <= 2000; ++i) {
        WorkflowDictionary().SetValue("/Counting/Meddled", i);
        std::this_thread::yield();
      }
      FireOutput("out");
      is_busy_ = false;
    });
    FireOutput("told");
    return true;
  }

  std::atomic<bool> is_busy_ = false;
  std::thread worker_;
};

WorkFlowFactory meddling_node(new (std::nothrow) Sdk::NodeCreator<MeddlingNode>);
WorkFlowFactory fickle_node(new (std::nothrow) Sdk::NodeCreator<FickleNode>);
WorkFlowFactory remembering_node(new (std::nothrow) Sdk::NodeCreator<RememberingNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
