// The road of an output signal from a node to the engine.
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/signalmediator/RoutingFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IOutgoingSignalHandler;
using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OutputSignalTest : public RoutingTest {};

TEST_F(OutputSignalTest, OutputSignalsReachTheEngineUnderTheNodesNames) {
  AddEngine();
  stage_.ScriptOf("a1").on_signal = [](ScriptedWorkNode& node, const std::string&) { return node.Fire("done"); };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/done"));
  EXPECT_EQ(TakeTrace().back(), Delivery("<Alpha, a1> fired output signal 'done'"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 1u);
}

TEST_F(OutputSignalTest, TheAnswerToAnOutputSignalIsTrueWhateverTheEngineAnswers) {
  AddEngine();
  engine_.on_output_signal = [] { return false; };
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "done"));
  engine_.on_output_signal = []() -> bool { throw ScriptedFailure(); };
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "done"));
  EXPECT_EQ(engine_.GetSignals().size(), 2u);
  EXPECT_THAT(TakeTrace(), IsEmpty()) << "only nodes' own signals are logged";
}

TEST_F(OutputSignalTest, WithoutAnEngineTheAnswerIsTrueAndTheEngineIsLookedForAgain) {
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "lost"));
  AddEngine();
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "kept"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/kept"));
}

TEST_F(OutputSignalTest, ANodeThatIsNotInTheListIsAskedForItsNames) {
  AddEngine();
  stage_.ScriptOf("a1").on_load_state = [](const std::string&) { return true; };
  IOutgoingSignalHandler* const handler = static_cast<OrvWorkFlow::Core::Mediator::CSignalMediator*>(mediator_);
  auto* stranger = new ScriptedWorkNode("Stranger");
  stranger->Initialise("s1");
  EXPECT_TRUE(handler->Signal(stranger, "hello"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Stranger/s1/hello"));
  stage_.ScriptOf("s1").throws_in = {"GetInstanceName"};
  EXPECT_FALSE(handler->Signal(stranger, "hello"));
  stage_.ScriptOf("s1").throws_in = {};
  stage_.ScriptOf("s1").fails_in = {"GetTypeName"};
  EXPECT_FALSE(handler->Signal(stranger, "hello"));
  EXPECT_FALSE(handler->Signal(nullptr, "hello"));
  EXPECT_FALSE(handler->Signal(stranger, nullptr));
  EXPECT_EQ(engine_.GetSignals().size(), 1u);
  stranger->Release();
}

// The outgoing path waits for nobody: another thread fires while the access lock is held by a delivery.
TEST_F(OutputSignalTest, AnOutputSignalOfAnotherThreadDoesNotNeedTheAccessLock) {
  AddEngine();
  stage_.ScriptOf("a1").on_signal = [](ScriptedWorkNode& node, const std::string&) {
    std::thread([&node] {
      EXPECT_EQ(MediatorLockDepth(), 0);
      node.Fire("from a thread");
    }).join();
    return true;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/from a thread"));
}

}  // namespace
}  // namespace orv_test
