// A work node that changes the dictionary in every way, for tests of what is recorded of that.
#include <algorithm>
#include <cstdint>
#include <new>
#include <random>
#include <stdexcept>
#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr NodeInput kInputs[] = {{"go", "changes the dictionary"}};
constexpr NodeOutput kOutputs[] = {{"one", false, "sometimes"}, {"two", false, "sometimes"}};
constinit const NodeDescription kDescription = {.sentence = "Changes the dictionary, by chance that repeats",
                                                .inputs = kInputs,
                                                .outputs = kOutputs,
                                                .state_in_dictionary = true};

// Chance has its seed in "/Counting/Seed" and "/Counting/Steps", which counts the deliveries: all that a node does
// follows from the dictionary. Fires nothing from "/Counting/Limit" steps on.
class ScribblingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "ScribblingNode";
  ScribblingNode() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    IDictionary& dictionary = WorkflowDictionary();
    const std::int32_t steps = NumberAt("/Counting/Steps") + 1;
    if (!dictionary.SetValue("/Counting/Steps", steps)) throw std::bad_alloc();
    random_.seed(static_cast<unsigned>(NumberAt("/Counting/Seed") * 7919 + steps));
    const bool fires = steps < NumberAt("/Counting/Limit");
    for (std::size_t i = Random(6); i > 0; --i) Change(dictionary);
    for (std::size_t i = fires ? Random(3) : 0; i > 0; --i) FireOutput("one");
    Change(dictionary);
    for (std::size_t i = fires ? 1 + Random(2) : 0; i > 0; --i) FireOutput("two");
    if (Random(30) == 0) throw std::runtime_error("by chance");
    return Random(20) != 0;
  }

  std::int32_t NumberAt(const char* path) const {
    IDictionary& dictionary = WorkflowDictionary();
    std::int32_t value = 0;
    if (!dictionary.GetValue(path, &value) && dictionary.Exists(path)) throw std::bad_alloc();
    return value;
  }

  void Change(IDictionary& dictionary) {
    const std::string path = Path();
    const char* const at = path.c_str();
    switch (Random(12)) {
      case 0:
        dictionary.SetValue(at, Random(2) == 0);
        break;
      case 1:
        dictionary.SetValue(at, static_cast<std::int32_t>(random_()));
        break;
      case 2:
        dictionary.SetValue(at, 0.25 * static_cast<double>(Random(100)));
        break;
      case 3: {
        const Sdk::TextListHolder list;
        for (std::size_t i = Random(4); i > 0; --i) {
          const std::string text = Text();
          list->Add(text.data(), text.size());
        }
        dictionary.SetValue(at, list.get());
        break;
      }
      case 4:
        dictionary.SetAttribute(at, "note", Text().c_str());
        break;
      case 5:
        dictionary.Delete(at);
        break;
      case 6:
        dictionary.Clear(at);
        break;
      case 7:
        dictionary.Rename(at, Name());
        break;
      case 8:
        dictionary.CopySubtree(at, Path().c_str());
        break;
      case 9:
        dictionary.MoveSubtree(at, Path().c_str());
        break;
      default:
        dictionary.SetValue(at, Text().c_str());
        break;
    }
  }

  std::size_t Random(std::size_t below) { return random_() % below; }
  const char* Name() {
    constexpr const char* kNames[] = {"a", "b", "c", "d"};
    return kNames[Random(4)];
  }
  std::string Path() {
    std::string path = "/Scribble";
    for (std::size_t i = 1 + Random(3); i > 0; --i) path += std::string("/") + Name();
    return path;
  }
  // Some do not fit into an entry of a record.
  std::string Text() {
    const std::size_t size = Random(200) == 0 ? 20000 : Random(20);
    std::string text;
    while (text.size() < size) text += "<&>' xyz"[Random(8)];
    return text;
  }

  std::mt19937 random_;
};

WorkFlowFactory scribbling_node(new (std::nothrow) Sdk::NodeCreator<ScribblingNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
