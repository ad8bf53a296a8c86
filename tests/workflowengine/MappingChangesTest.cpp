// Mappings live in the dictionary: what is kept beside it is dropped by every change of mappings, and by nothing else.
#include <functional>
#include <thread>
#include <utility>

#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;

class MappingChangesTest : public EngineTest {
 protected:
  const std::string key = MapsKey("T", "i", "done");

  bool Output() { return Engine().OutputSignal("T", "i", "done"); }
  std::uint32_t Waiting() { return State().waiting; }
};

TEST_F(MappingChangesTest, EveryChangeOfTheDictionaryIsSeenAtTheNextSignal) {
  EXPECT_FALSE(Output());
  AddMapping("T", "i", "done", "A", "a", "s");
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 1u);
  AddMapping("T", "i", "done", "B", "b", "s");
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 3u);
  dictionary.SetValue((key + "/map0").c_str(), "broken");
  EXPECT_FALSE(Output());
  EXPECT_EQ(Waiting(), 3u);
  Engine().RemoveSignalMapping("T", "i", "done", nullptr, nullptr, "B", "b", "s");
  dictionary.SetValue((key + "/map0").c_str(), "X,x,s");
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 4u);
  Engine().RemoveAllSignalMappings();
  EXPECT_FALSE(Output());
  EXPECT_EQ(Waiting(), 4u);
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(4));
  EXPECT_THAT(mediator.Fired(), ElementsAre("A,a,s", "A,a,s", "B,b,s", "X,x,s"));
}

// What changes the mappings between two signals, and the receivers afterwards. At first there are "A,a,s" and "B,b,s".
struct MappingChange {
  const char* what;
  std::function<void(IWorkFlowEngine& engine, IDictionary& dictionary, const std::string& key)> change;
  std::vector<std::string> receivers;
};
void PrintTo(const MappingChange& value, std::ostream* out) { *out << value.what; }
class MappingChangeTest : public MappingChangesTest, public ::testing::WithParamInterface<MappingChange> {};

TEST_P(MappingChangeTest, IsSeenByTheNextSignal) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "done", "B", "b", "s");
  EXPECT_TRUE(Output());
  EXPECT_TRUE(Output());
  GetParam().change(Engine(), dictionary, key);
  EXPECT_EQ(Output(), !GetParam().receivers.empty());
  const std::size_t count = 4 + GetParam().receivers.size();
  EXPECT_EQ(Waiting(), count);
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(count));
  const std::vector<std::string> fired = mediator.Fired();
  EXPECT_EQ(std::vector<std::string>(fired.begin() + 4, fired.end()), GetParam().receivers);
}

bool LoadText(IDictionary& dictionary, const std::string& path) {
  const auto other = MakeObject<Core::Dictionary::CDictionaryObjectCreator, IDictionary>("IDictionary");
  const PString text;
  return other->SetValue(path.c_str(), "L,l,s") && other->SaveToText(text.out()) &&
         dictionary.LoadFromText(text.str().data(), text.str().size());
}

INSTANTIATE_TEST_SUITE_P(
    Table, MappingChangeTest,
    ::testing::Values(
        MappingChange{"adding",
                      [](auto& engine, auto&, auto&) {
                        engine.AddSignalMapping("T", "i", "done", nullptr, nullptr, "C", "c", "s");
                      },
                      {"A,a,s", "B,b,s", "C,c,s"}},
        MappingChange{"removing",
                      [](auto& engine, auto&, auto&) {
                        engine.RemoveSignalMapping("T", "i", "done", nullptr, nullptr, "A", "a", "s");
                      },
                      {"B,b,s"}},
        MappingChange{"removing all", [](auto& engine, auto&, auto&) { engine.RemoveAllSignalMappings(); }, {}},
        MappingChange{"writing",
                      [](auto&, auto& dictionary, auto& key) { dictionary.SetValue((key + "/map0").c_str(), "X,x,s"); },
                      {"X,x,s", "B,b,s"}},
        MappingChange{"writing a new one",
                      [](auto&, auto& dictionary, auto& key) { dictionary.SetValue((key + "/map9").c_str(), "X,x,s"); },
                      {"A,a,s", "B,b,s", "X,x,s"}},
        MappingChange{"deleting",
                      [](auto&, auto& dictionary, auto& key) { dictionary.Delete((key + "/map1").c_str()); },
                      {"A,a,s"}},
        MappingChange{
            "deleting above", [](auto&, auto& dictionary, auto&) { dictionary.Delete("/WorkFlowEngine"); }, {}},
        MappingChange{"renaming",
                      [](auto&, auto& dictionary, auto& key) { EXPECT_TRUE(dictionary.Rename(key.c_str(), "gone")); },
                      {}},
        MappingChange{"copying",
                      [](auto&, auto& dictionary, auto& key) {
                        EXPECT_TRUE(dictionary.CopySubtree((key + "/map0").c_str(), (key + "/map9").c_str()));
                      },
                      {"A,a,s", "B,b,s", "A,a,s"}},
        MappingChange{"moving",
                      [](auto&, auto& dictionary, auto& key) {
                        EXPECT_TRUE(dictionary.MoveSubtree((key + "/map0").c_str(), (key + "/map9").c_str()));
                      },
                      {"B,b,s", "A,a,s"}},
        MappingChange{
            "clearing",
            [](auto&, auto& dictionary, auto& key) { EXPECT_TRUE(dictionary.Clear((key + "/map0").c_str())); },
            {}},
        MappingChange{"redirecting",
                      [](auto&, auto& dictionary, auto& key) {
                        const PStringList targets(std::vector<std::string>{"/Elsewhere"});
                        EXPECT_TRUE(dictionary.SetRedirection((key + "/map0").c_str(), targets.out()));
                        EXPECT_TRUE(dictionary.SetValue("/Elsewhere", "X,x,s"));
                      },
                      {"X,x,s", "B,b,s"}},
        MappingChange{"writing on another thread",
                      [](auto&, auto& dictionary, auto& key) {
                        std::thread([&] { dictionary.SetValue((key + "/map0").c_str(), "X,x,s"); }).join();
                      },
                      {"X,x,s", "B,b,s"}},
        MappingChange{"loading",
                      [](auto&, auto& dictionary, auto& key) { EXPECT_TRUE(LoadText(dictionary, key + "/map0")); },
                      {"L,l,s"}}));

TEST_F(MappingChangesTest, ASenderIsKnownByItsTextsNotByWhereTheyStand) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "gone", "B", "b", "s");
  char signal[] = "done";
  EXPECT_TRUE(Engine().OutputSignal("T", "i", signal));
  signal[0] = 'g';
  EXPECT_TRUE(Engine().OutputSignal("T", "i", signal));
  signal[0] = 'x';
  EXPECT_FALSE(Engine().OutputSignal("T", "i", signal));
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_THAT(mediator.Fired(), ElementsAre("A,a,s", "B,b,s"));
}

TEST_F(MappingChangesTest, AddingDoesNotLookAtWhatIsThere) {
  for (int i = 0; i < 50; ++i) {
    AddMapping("T", "i", "done", "A", "a", "s");
    AddMapping("T", "i", "gone", "B", "b", "s");
  }
  const int listings = dictionary.listings;
  const int tests = dictionary.tests;
  for (const char* signal : {"done", "gone", "done"}) EXPECT_TRUE(AddMapping("T", "i", signal, "C", "c", "s"));
  EXPECT_EQ(dictionary.listings, listings);
  EXPECT_EQ(dictionary.tests, tests + 3);
  EXPECT_EQ(Value(MapsKey("T", "i", "gone") + "/map50"), "C,c,s");
  EXPECT_EQ(Value(key + "/map51"), "C,c,s");
}

TEST_F(MappingChangesTest, TheLowestFreeNumberIsFoundAfterAnyChange) {
  for (int i = 0; i < 5; ++i) AddMapping("T", "i", "done", "A", "a", "s");
  const auto next = [&] {
    EXPECT_TRUE(AddMapping("T", "i", "done", "N", "n", "s"));
    return Children(key).back();
  };
  dictionary.Delete((key + "/map3").c_str());
  EXPECT_EQ(next(), "map3");
  dictionary.SetValue((key + "/map6").c_str(), "x");
  dictionary.SetValue((key + "/map01").c_str(), "x");
  dictionary.SetValue((key + "/map").c_str(), "x");
  EXPECT_EQ(next(), "map5");
  EXPECT_EQ(next(), "map7");
  Engine().RemoveSignalMapping("T", "i", "done", nullptr, nullptr, "A", "a", "s");
  EXPECT_EQ(next(), "map0");
  dictionary.Delete("/WorkFlowEngine");
  EXPECT_EQ(next(), "map0");
}

TEST_F(MappingChangesTest, AnUnchangedDictionaryIsReadOnce) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "done", "B", "b", "s");
  Output();
  const int listings = dictionary.listings;
  const int reads = dictionary.reads;
  for (int i = 0; i < 100; ++i) EXPECT_TRUE(Output());
  EXPECT_EQ(dictionary.listings, listings);
  EXPECT_EQ(dictionary.reads, reads);
  EXPECT_EQ(Waiting(), 202u);
  for (const char* elsewhere : {"/Elsewhere", "/WorkFlowEngine/WorkNodes/T/Instances/i/Parameters/p"}) {
    dictionary.SetValue(elsewhere, "x");
    EXPECT_TRUE(Output());
    EXPECT_EQ(dictionary.listings, listings) << elsewhere;
  }
  dictionary.SetValue((key + "/map1").c_str(), "C,c,s");
  EXPECT_TRUE(Output());
  EXPECT_GT(dictionary.listings, listings);
}

// Names that lead elsewhere than to the mappings of an instance are read each time.
TEST_F(MappingChangesTest, MappingsWhereNoInstanceHasThemAreSeenToChange) {
  for (const char* type : {"", "T/x"}) {
    const std::string path = MapsKey(type, "i", "done") + "/map0";
    ASSERT_TRUE(dictionary.SetValue(path.c_str(), "A,a,s"));
    EXPECT_TRUE(Engine().OutputSignal(type, "i", "done"));
    ASSERT_TRUE(dictionary.SetValue(path.c_str(), "broken"));
    EXPECT_FALSE(Engine().OutputSignal(type, "i", "done")) << '"' << type << '"';
  }
}

TEST_F(MappingChangesTest, MoreSignalsThanAreKeptLeadWhereTheyShould) {
  constexpr std::size_t kKept = 16;
  SignalMappings mappings(kKept);
  MappingsDictionary known;
  const auto name = [](int i) { return "s" + std::to_string(i); };
  for (int i = 0; i < 100; ++i) AddMapping("T", "i", name(i).c_str(), "A", "a", name(i).c_str());
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 100; ++i) {
      const MappedSignal& mapped = mappings.Find(known.Get(), {"T", "i", name(i).c_str()});
      ASSERT_EQ(mapped.receivers.size(), 1u);
      EXPECT_EQ(mapped.receivers[0].Text(QueueEntry::IncomingSignal), name(i));
      EXPECT_LE(mappings.Size(), kKept);
    }
  }
}

TEST_F(MappingChangesTest, NamesThatOnlyTogetherAreEqualAreDifferentSenders) {
  AddMapping("T", "i", "done", "A", "a", "s");
  EXPECT_TRUE(Output());
  EXPECT_FALSE(Engine().OutputSignal("Ti", "", "done"));
  EXPECT_FALSE(Engine().OutputSignal("T", "id", "one"));
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 2u);
}

TEST_F(MappingChangesTest, SendersWithoutNumberDoNotFillTheMemory) {
  AddMapping("T", "i", "done", "A", "a", "s");
  for (int i = 0; i < 10000; ++i) EXPECT_FALSE(Engine().OutputSignal("T", "i", ("x" + std::to_string(i)).c_str()));
  EXPECT_TRUE(Output());
  EXPECT_EQ(Waiting(), 1u);
}

// Somebody adds a mapping just when those that are there have been listed: this signal may miss it, the next may not.
TEST_F(MappingChangesTest, AChangeWhileMappingsAreReadIsSeenByTheNextSignal) {
  AddMapping("T", "i", "done", "A", "a", "s");
  bool is_added = false;
  dictionary.on_listed = [&](const std::string& path) {
    if (path == key && !std::exchange(is_added, true)) dictionary.SetValue((key + "/map1").c_str(), "B,b,s");
  };
  EXPECT_TRUE(Output());
  ASSERT_TRUE(is_added);
  EXPECT_TRUE(Output());
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(3));
  EXPECT_THAT(mediator.Fired(), ElementsAre("A,a,s", "A,a,s", "B,b,s"));
}

// The same for the numbers that adding remembers: somebody takes one away, and another one, before ours is written.
TEST_F(MappingChangesTest, AChangeWhileAMappingIsAddedIsSeenByTheNextOne) {
  AddMapping("T", "i", "done", "A", "a", "s");
  AddMapping("T", "i", "done", "B", "b", "s");
  dictionary.on_setting = [&](const std::string& path) {
    if (path == key + "/map2") dictionary.Delete((key + "/map0").c_str());
  };
  AddMapping("T", "i", "done", "C", "c", "s");
  AddMapping("T", "i", "done", "D", "d", "s");
  EXPECT_THAT(Children(key), ElementsAre("map1", "map2", "map0"));
  EXPECT_EQ(Value(key + "/map0"), "D,d,s");
}

}  // namespace
}  // namespace orv_test
