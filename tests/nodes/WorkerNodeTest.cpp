// What the last signal of a thread's work causes may come back before that thread has ended.
#include "OrvWorkFlow/sdk/WorkerNode.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

#include "nodes/task/TaskNode.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr NodeInput kInputs[] = {{"work", "works"}, {"resume", "goes on"}};
constexpr NodeOutput kOutputs[] = {{"done", false, "it has worked"}};
constexpr NodeParameter kParameters[] = {TextParameterRow("Text", "{/Data}", "a text")};
constexpr NodeDescription kDescription = {
    .sentence = "Works",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
};

class Worker final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "Worker";
  Worker() : WorkerNode(kTypeName, kDescription) {}
  std::string text;  // as the work had it

 private:
  bool OnSignal(std::string_view signal) override { return signal == "resume" ? Continue() : BeginAnew(); }
  Outcome Work() override {
    text = TextParameter("Text");
    FireLast("done");
    return Outcome::Done;
  }
};

class Tasks final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "Tasks";
  Tasks() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& /*task*/) override { return "done"; }
};

class WorkerNodeTest : public NodeFixture {
 public:
  // On the thread of the work. The first time the node gets its next signal on another thread meanwhile.
  bool Signal(IWorkNode* node, const char* signal_name) override {
    if (++fired_ > 1) return NodeFixture::Signal(node, signal_name);
    SetText("/Data", "second");
    std::shared_future<bool> next = std::async(std::launch::async, [node] { return node->Signal("work"); }).share();
    next_.set_value(next);
    next.wait_for(std::chrono::milliseconds(100));  // It waits for this thread.
    return true;
  }

 protected:
  void ExpectBegunOnceMore(IWorkNode& node) {
    SetText("/WorkFlowEngine/WorkNodes/Worker/Instances/Instance/Parameters/Text", "{/Data}");
    SetText("/Data", "first");
    ASSERT_TRUE(node.Signal("work"));
    EXPECT_TRUE(next_.get_future().get().get());
    EXPECT_FALSE(node.StopWork()) << "it had ended";
    EXPECT_EQ(fired_, 2);
  }

  std::atomic<int> fired_ = 0;
  std::promise<std::shared_future<bool>> next_;
};

TEST_F(WorkerNodeTest, TheNextSignalOfAWorkerIsTaken) {
  const NodePointer node = Make<Worker>();
  ExpectBegunOnceMore(*node);
  EXPECT_EQ(static_cast<Worker&>(*node).text, "second") << "what a parameter takes from elsewhere is taken anew";
}

TEST_F(WorkerNodeTest, TheNextTaskBegins) {
  const NodePointer node = Make<Tasks>();
  ExpectBegunOnceMore(*node);
}

// It fires on the thread of its work, and gets its signal there: that cannot wait for itself.
class OwnSignalTest : public NodeFixture {
 public:
  bool Signal(IWorkNode* node, const char* /*signal_name*/) override {
    is_taken_ = node->Signal("work");
    return true;
  }

 protected:
  std::atomic<bool> is_taken_ = true;
};

TEST_F(OwnSignalTest, OfItsOwnThreadItIsRefused) {
  const NodePointer node = Make<Worker>();
  ASSERT_TRUE(node->Signal("work"));
  EXPECT_FALSE(node->StopWork());
  EXPECT_FALSE(is_taken_);
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
