// A work node whose output signals find no memory.
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string_view>

#include <dlfcn.h>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {
namespace {

// Takes the next allocations of this thread away; all of them for -1.
class TakenMemory {
 public:
  explicit TakenMemory(int allocations) { Take(allocations); }
  ~TakenMemory() { Take(0); }
  TakenMemory(const TakenMemory&) = delete;
  TakenMemory& operator=(const TakenMemory&) = delete;

 private:
  // The preloaded library does it.
  static void Take(int allocations) {
    static auto* const take = reinterpret_cast<void (*)(int)>(dlsym(RTLD_DEFAULT, "OneFailureTakeMemory"));
    if (take != nullptr) take(allocations);
  }
};

// "unmapped": fires "out" for the first time, without memory for one allocation: nobody knows yet where it leads. What
// the first signal of all asks for has been asked for by "first" then.
// "mapped": fires "out" until the queue has no more room, and then once more so. "all": fires "out" without any memory.
// All have memory when "/Counting/Limit" is not 0.
class LosingNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "LosingNode";
  LosingNode() : Sdk::WorkNodeBase(kTypeName) {}

 private:
  static constexpr int kRoom = 10;

  bool OnSignal(std::string_view signal) override {
    for (int i = 0; signal == "mapped" && i < kRoom; ++i) FireOutput("out");
    if (signal == "unmapped") FireOutput("first");
    std::int32_t limit = 0;
    if (!WorkflowDictionary().GetValue("/Counting/Limit", &limit)) throw std::runtime_error("there is no limit");
    const TakenMemory taken(limit != 0 ? 0 : signal == "all" ? -1 : 1);
    FireOutput("out");
    return true;
  }
};

WorkFlowFactory losing_node(new (std::nothrow) Sdk::NodeCreator<LosingNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
