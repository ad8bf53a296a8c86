// Adding and removing mappings, and the signals that they queue.
#include <thread>

#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kLocked[] = "workflow/Signal: WorkflowEngineLocked";
constexpr char kAdded[] = "workflow/Signal: signal mapping added to the signal queue";
constexpr char kUnlocked[] = "workflow/Signal: WorkflowEngineUnlocked";

class SignalMappingsTest : public EngineTest {
 protected:
  const std::string key = MapsKey("T", "i", "done");

  bool Remove(const char* receiver_type, const char* receiver_instance, const char* incoming) {
    return Engine().RemoveSignalMapping("T", "i", "done", "x", nullptr, receiver_type, receiver_instance, incoming);
  }
  bool Output() { return Engine().OutputSignal("T", "i", "done"); }
  std::uint32_t Waiting() { return State().waiting; }
};

TEST_F(SignalMappingsTest, AreStoredAsNumberedTexts) {
  EXPECT_TRUE(AddMapping("T", "i", "done", "R", "a", "go"));
  EXPECT_TRUE(AddMapping("T", "i", "done", "R", "b", "go"));
  EXPECT_TRUE(AddMapping("T", "i", "done", "S", "c", "stop"));
  EXPECT_THAT(Children(key), ElementsAre("map0", "map1", "map2"));
  EXPECT_EQ(Value(key + "/map0"), "R,a,go");
  EXPECT_EQ(Value(key + "/map1"), "R,b,go");
  EXPECT_EQ(Value(key + "/map2"), "S,c,stop");
}

TEST_F(SignalMappingsTest, AGapIsFilledAndTheNewOneFiresLast) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "done", "B", "b", "s");
  AddMapping("T", "i", "done", "C", "c", "s");
  EXPECT_TRUE(Remove("B", "b", "s"));
  EXPECT_TRUE(AddMapping("T", "i", "done", "D", "d", "s"));
  EXPECT_EQ(Value(key + "/map1"), "D,d,s");
  EXPECT_THAT(Children(key), ElementsAre("map0", "map2", "map1"));
  EXPECT_TRUE(Output());
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(3));
  EXPECT_THAT(mediator.Fired(), ElementsAre("A,a,s", "C,c,s", "D,d,s"));
}

TEST_F(SignalMappingsTest, OnlyTheFirstEqualOneIsRemoved) {
  AddMapping("T", "i", "done", "R", "r", "s");
  AddMapping("T", "i", "done", "R", "r", "s");
  EXPECT_TRUE(Remove("R", "r", "s"));
  EXPECT_THAT(Children(key), ElementsAre("map1"));
  EXPECT_FALSE(Remove("R", "r", "S"));  // Case counts.
  EXPECT_FALSE(Remove("R", "r", ""));
  EXPECT_TRUE(Remove("R", "r", "s"));
  EXPECT_FALSE(Remove("R", "r", "s"));
  EXPECT_THAT(Children(key), IsEmpty());
}

TEST_F(SignalMappingsTest, RemovingFromASenderWithoutMappingsFails) { EXPECT_FALSE(Remove("R", "r", "s")); }

TEST_F(SignalMappingsTest, NullNamesFailAndChangeNothing) {
  const char* names[] = {"T", "i", "done", "R", "r", "s"};
  for (int null_at = 0; null_at < 6; ++null_at) {
    const char* n[6];
    for (int i = 0; i < 6; ++i) n[i] = i == null_at ? nullptr : names[i];
    EXPECT_FALSE(Engine().AddSignalMapping(n[0], n[1], n[2], "x", "y", n[3], n[4], n[5])) << null_at;
    EXPECT_FALSE(Engine().RemoveSignalMapping(n[0], n[1], n[2], "x", "y", n[3], n[4], n[5])) << null_at;
  }
  EXPECT_FALSE(dictionary.Exists("/WorkFlowEngine"));
  EXPECT_TRUE(Engine().AddSignalMapping("T", "i", "done", nullptr, nullptr, "R", "r", "s"));
}

TEST_F(SignalMappingsTest, NamesThatNoPathCanHoldAreRefused) {
  EXPECT_FALSE(AddMapping("T y", "i", "done", "R", "r", "s"));
  EXPECT_FALSE(AddMapping("T", "i", "d%one", "R", "r", "s"));
  EXPECT_TRUE(AddMapping("T", "i", "done", "R r", "r<&>", "%s"));
  EXPECT_EQ(Value(key + "/map0"), "R r,r<&>,%s");
}

TEST_F(SignalMappingsTest, RemoveAllTakesTheMappingsOfAllInstances) {
  AddMapping("T", "i", "done", "R", "r", "s");
  AddMapping("T", "j", "done", "R", "r", "s");
  AddMapping("U", "k", "failed", "R", "r", "s");
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/T/Instances/i/ConfigFile", "c.xml");
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/V/Binaries/win32_bin", "v.dll");
  EXPECT_TRUE(Engine().RemoveAllSignalMappings());
  EXPECT_THAT(Children("/WorkFlowEngine/WorkNodes/T/Instances/i"), ElementsAre("ConfigFile"));
  EXPECT_THAT(Children("/WorkFlowEngine/WorkNodes/T/Instances/j"), IsEmpty());
  EXPECT_THAT(Children("/WorkFlowEngine/WorkNodes/U/Instances/k"), IsEmpty());
  EXPECT_THAT(Children("/WorkFlowEngine/WorkNodes/V"), ElementsAre("Binaries"));
  EXPECT_TRUE(Engine().RemoveAllSignalMappings());
}

TEST_F(SignalMappingsTest, WithoutADictionaryNothingMaps) {
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(AddMapping("T", "i", "done", "R", "r", "s"));
  EXPECT_FALSE(Remove("R", "r", "s"));
  EXPECT_TRUE(Engine().RemoveAllSignalMappings());
  EXPECT_FALSE(Output());
}

TEST_F(SignalMappingsTest, EachReceiverGetsAnEntryAndAPost) {
  FakeThread thread;
  FakeEvent event;
  const PrimitiveGuard guard(&thread, &event);
  AddMapping("T", "i", "done", "R", "r", "s");
  AddMapping("T", "i", "done", "R", "r", "s");
  logger.Clear();
  EXPECT_TRUE(Output());
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kAdded, kAdded, kUnlocked));
  EXPECT_EQ(Waiting(), 2u);
  EXPECT_EQ(thread.GetPostCount("SignalReceived"), 2u);
  engine.reset();
}

TEST_F(SignalMappingsTest, ASenderWithAnEmptyMapsKeyIsIgnoredWithTrue) {
  dictionary.SetValue(key.c_str(), "");
  EXPECT_TRUE(Output());
  EXPECT_THAT(
      logger.GetTrace(),
      ElementsAre(kLocked, "workflow/IgnoredSingals: <T, i, done> did not map to any input signals.", kUnlocked));
  EXPECT_EQ(Waiting(), 0u);
}

TEST_F(SignalMappingsTest, ASenderWithoutAMapsKeyIsTracedAndFails) {
  for (int time = 0; time < 2; ++time) {
    logger.Clear();
    EXPECT_FALSE(Output());
    EXPECT_THAT(logger.GetTrace(),
                ElementsAre(kLocked, "workflow/IgnoredSingals: <T, i, done> did not map to any input signals."));
  }
  EXPECT_EQ(Waiting(), 0u);
}

TEST_F(SignalMappingsTest, ALineKeepsPercentSigns) {
  EXPECT_FALSE(Engine().OutputSignal("%s", "%d%n", "100%"));
  EXPECT_EQ(logger.CountText("<%s, %d%n, 100%> did not map to any input signals."), 1u);
}

TEST_F(SignalMappingsTest, AFailedListingFailsSilently) {
  AddMapping("T", "i", "done", "R", "r", "s");
  dictionary.unlisted_path = key;
  EXPECT_FALSE(Output());
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked));
  EXPECT_EQ(Waiting(), 0u);
  dictionary.unlisted_path.clear();
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 1u);
}

TEST_F(SignalMappingsTest, AMappingThatCannotBeReadStopsTheSignalThere) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "done", "B", "b", "s");
  AddMapping("T", "i", "done", "C", "c", "s");
  dictionary.unreadable_path = key + "/map1";
  logger.Clear();
  EXPECT_FALSE(Output());
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kAdded));
  EXPECT_EQ(Waiting(), 1u);
  dictionary.unreadable_path.clear();
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 4u);
}

TEST_F(SignalMappingsTest, WhatWasQueuedBeforeAFailureWakesThePump) {
  FakeThread thread;
  FakeEvent event;
  const PrimitiveGuard guard(&thread, &event);
  AddMapping("T", "i", "done", "A", "a", "s");
  dictionary.SetValue((key + "/map1").c_str(), "broken");
  EXPECT_FALSE(Output());
  EXPECT_EQ(thread.GetPostCount("SignalReceived"), 1u);
  engine.reset();
}

TEST_F(SignalMappingsTest, AMappingOfAnotherTypeCannotBeRead) {
  AddMapping("T", "i", "done", "A", "a", "s");
  dictionary.SetValue((key + "/map1").c_str(), std::int32_t{7});
  EXPECT_FALSE(Output());
  EXPECT_EQ(Waiting(), 1u);
}

struct MappingText {
  const char* text;
  bool splits;
};
class MappingTextTest : public SignalMappingsTest, public ::testing::WithParamInterface<MappingText> {};

TEST_P(MappingTextTest, MustHaveThreeParts) {
  AddMapping("T", "i", "done", "A", "a", "s");
  dictionary.SetValue((key + "/map1").c_str(), GetParam().text);
  logger.Clear();
  EXPECT_EQ(Output(), GetParam().splits);
  EXPECT_EQ(Waiting(), GetParam().splits ? 2u : 1u);
  EXPECT_EQ(logger.GetTrace().back(), GetParam().splits ? kUnlocked : kAdded);
}

INSTANTIATE_TEST_SUITE_P(Table, MappingTextTest,
                         ::testing::Values(MappingText{"a,b,c", true}, MappingText{",,", true},
                                           MappingText{" a , b , c ", true}, MappingText{"D,,", true},
                                           MappingText{"a,b", false}, MappingText{"a,b,c,d", false},
                                           MappingText{"a,b,c,", false}, MappingText{"abc", false},
                                           MappingText{"", false}, MappingText{",,,", false}));

TEST_F(SignalMappingsTest, PartsAreTakenAsTheyStand) {
  dictionary.SetValue((key + "/map0").c_str(), " R,,go on ");
  EXPECT_TRUE(Output());
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(1));
  EXPECT_THAT(mediator.Fired(), ElementsAre(" R,,go on "));
}

TEST_F(SignalMappingsTest, NullSignalsFailBeforeAnythingIsLogged) {
  EXPECT_FALSE(Engine().OutputSignal(nullptr, "i", "done"));
  EXPECT_FALSE(Engine().OutputSignal("T", nullptr, "done"));
  EXPECT_FALSE(Engine().OutputSignal("T", "i", nullptr));
  EXPECT_THAT(logger.GetTrace(), IsEmpty());
}

TEST_F(SignalMappingsTest, ThreadsThatAddAtOnceLoseNoMapping) {
  constexpr int kThreads = 4;
  constexpr int kEach = 50;
  Engine();  // is made
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kEach; ++i) EXPECT_TRUE(AddMapping("T", "i", "done", "R", "r", "s"));
    });
  }
  threads.clear();
  EXPECT_EQ(Children(key).size(), static_cast<std::size_t>(kThreads * kEach));
}

TEST_F(SignalMappingsTest, HundredsOfMappingsOfOneSignal) {
  const int count = 300;
  for (int i = 0; i < count; ++i) {
    ASSERT_TRUE(AddMapping("T", "i", "done", "R", std::to_string(i).c_str(), "s"));
  }
  EXPECT_TRUE(Output());
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(count));
  const std::vector<std::string> fired = mediator.Fired();
  for (int i = 0; i < count; ++i) ASSERT_EQ(fired[static_cast<std::size_t>(i)], "R," + std::to_string(i) + ",s");
}

}  // namespace
}  // namespace orv_test
