// Each allocation of the mediator's operations fails in turn, once: what could not be read is never taken for nothing,
// and a signal that is lost is a failure.

#include "tests/signalmediator/RoutingFixture.h"
#include "tests/support/FailingMemory.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::Dictionary::CDictionary;
using ::testing::ElementsAre;

class NoMemoryTest : public RoutingTest {
 protected:
  static std::string Reboot(int number, const char* key) {
    return "/WorkFlowEngine/RebootSignals/RebootSignal" + std::to_string(number) + key;
  }
  std::vector<std::string> RebootSignals() {
    std::vector<std::string> signals;
    for (int i = 0; i < 2; ++i) {
      signals.push_back(GetText(Reboot(i, "/WorkNodeInstanceName")) + " " + GetText(Reboot(i, "/Signal")));
    }
    return signals;
  }

  // Calls `attempt(n)`, which lets allocation number n fail and answers whether that came about, for n = 1, 2...
  template <class Attempt>
  static void FailEach(const Attempt& attempt) {
    std::size_t n = 1;
    while (attempt(n) && !HasFailure()) ++n;
    EXPECT_GT(n, 1U);
  }
  // A signal to a node that is made anew each time: delivered, or counted as a failure.
  void FireWithEachAllocation(bool with_host) {
    if (with_host) AddHost();
    FailEach([&](std::size_t n) {
      EXPECT_TRUE(mediator_->LoadState(nullptr));
      TakeJournal();
      const std::uint32_t before = GetStatistics().failures;
      bool fired = false;
      {
        const FailedAllocation failure(n);
        Fire("Alpha", "a1", "go");
        host_.DeliverAll();
        fired = failure.fired();
      }
      const bool delivered = !stage_.GetJournal("Signal(go)").empty();
      EXPECT_TRUE(delivered || GetStatistics().failures > before) << n;
      EXPECT_EQ(GetStatistics().sent, GetStatistics().received) << n;
      boxes_.Clear();
      return fired;
    });
  }
};

TEST_F(NoMemoryTest, ALoadIsCompleteOrFailsAndCanBeTriedAgain) {
  for (int i = 0; i < 2; ++i) {
    SetText(Reboot(i, "/Signal"), "wake");
    SetText(Reboot(i, "/WorkNodeTypeName"), "Alpha");
    SetText(Reboot(i, "/WorkNodeInstanceName"), i == 0 ? "a1" : "a2");
  }
  FailEach([&](std::size_t n) {
    bool loaded = false;
    bool fired = false;
    {
      const FailedAllocation failure(n);
      loaded = mediator_->LoadState(nullptr);
      fired = failure.fired();
    }
    EXPECT_TRUE(loaded || mediator_->LoadState(nullptr)) << n;
    TakeJournal();
    mediator_->FireRebootSignals();
    EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(wake)", "a2.Signal(wake)")) << n;
    return fired;
  });
}

TEST_F(NoMemoryTest, ASaveIsCompleteOrThrowsAndCanBeTriedAgain) {
  for (const char* instance : {"a1", "a2"}) {
    stage_.ScriptOf(instance).on_stop_work = [](ScriptedWorkNode&) { return true; };
    stage_.ScriptOf(instance).reboot_signal = "wake";
    EXPECT_TRUE(Fire("Alpha", instance, "go"));
  }
  mediator_->StopAllWorkNodes();
  FailEach([&](std::size_t n) {
    dictionary_->Delete("/WorkFlowEngine/RebootSignals");
    bool saved = false;
    bool fired = false;
    try {
      const FailedAllocation failure(n);
      struct Note {
        const FailedAllocation& failure;
        bool& fired;
        ~Note() { fired = failure.fired(); }
      } const note{failure, fired};
      saved = mediator_->SaveState(nullptr);
    } catch (...) {
    }
    EXPECT_TRUE(saved || mediator_->SaveState(nullptr)) << n;
    EXPECT_THAT(RebootSignals(), ElementsAre("a1 wake", "a2 wake")) << n;
    boxes_.Clear();
    return fired;
  });
}

TEST_F(NoMemoryTest, ASignalIsDeliveredOrAFailure) { FireWithEachAllocation(false); }
TEST_F(NoMemoryTest, ASignalForTheHostIsDeliveredOrAFailure) { FireWithEachAllocation(true); }

TEST_F(NoMemoryTest, AnAbsorbIsCompleteOrFailsAndCanBeTriedAgain) {
  CDictionary absorbed;
  const std::string definition = DefinitionOf("Alpha", "new");
  absorbed.SetValue((definition + "/wfName").c_str(), "Sub");
  absorbed.SetBinary((definition + "/icon").c_str(), "\0\1", 2);
  absorbed.SetValue("/WorkFlowEngine/Directories/Sub/WriteDir", "w");
  absorbed.SetValue("/WorkFlowEngine/UtilityObjects/Local/Tool/Binaries/win32_bin", kLibrary);
  FailEach([&](std::size_t n) {
    for (const char* path : {"/WorkFlowEngine/Directories/Sub", "/WorkFlowEngine/UtilityObjects"}) {
      dictionary_->Delete(path);
    }
    dictionary_->Delete(definition.c_str());
    bool done = false;
    bool fired = false;
    {
      const FailedAllocation failure(n);
      done = mediator_->Absorb(&absorbed);
      fired = failure.fired();
    }
    EXPECT_TRUE(done || mediator_->Absorb(&absorbed)) << n;
    EXPECT_EQ(GetText(definition + "/wfName"), "Sub") << n;
    EXPECT_EQ(dictionary_->GetValueType((definition + "/icon").c_str()), OrvWorkFlow::ValueType::Binary) << n;
    EXPECT_EQ(GetText("/WorkFlowEngine/Directories/Sub/WriteDir"), "w") << n;
    EXPECT_EQ(GetText("/WorkFlowEngine/UtilityObjects/Local/Tool/Binaries/win32_bin"), kLibrary) << n;
    return fired;
  });
}

}  // namespace
}  // namespace orv_test
