// Absorbing further workflows, with real dictionary files and a mediator that only remembers.
#include <chrono>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/IComponentFinder.h"
#include "filesystem/FileSystemObject.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/plugins/TestNode.h"
#include "tests/support/TempDirectory.h"
#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kTree[] = "/WorkFlowEngine/AbsorbTree";

class AbsorbTest : public EngineTest {
 protected:
  AbsorbTest() {
    AddGlobal("FileSystem", file_system.get());
    Set("/WorkFlowEngine/WorkFlowName", "Top");
  }
  ~AbsorbTest() override { engine.reset(); }

  void Set(const std::string& path, const char* value) { EXPECT_TRUE(dictionary.SetValue(path.c_str(), value)); }

  // The file of a workflow; an empty start type leaves the start signal out.
  std::string WriteFlow(const std::string& name, const std::string& start_type = "Start") {
    const auto flow = MakeObject<Core::Dictionary::CDictionaryObjectCreator, IDictionary>("IDictionary");
    const auto set = [&](const std::string& path, const std::string& value) {
      EXPECT_TRUE(flow->SetValue(path.c_str(), value.c_str()));
    };
    set("/WorkFlowEngine/WorkFlowName", name);
    if (!start_type.empty()) {
      set("/WorkFlowEngine/Mappings/StartSignal/ReceiverTypeName", start_type);
      set("/WorkFlowEngine/Mappings/StartSignal/ReceiverInstanceName", "of" + name);
      set("/WorkFlowEngine/Mappings/StartSignal/IncomingSignalName", "go");
    }
    const std::string file = directory.file(name + ".xml");
    EXPECT_TRUE(flow->SaveFile(file.c_str()));
    return file;
  }
  bool Absorb(const std::string& file, bool start = false) { return Engine().AbsorbFlow(file.c_str(), start); }

  // Name and file of each record, as a save writes them.
  std::vector<std::string> Records() {
    EXPECT_TRUE(Engine().SaveState(directory.file("state.xml").c_str()));
    std::vector<std::string> records;
    const std::string parent = "/WorkFlowEngine/WorkFlows";
    if (!dictionary.Exists(parent.c_str())) return records;
    for (const std::string& child : Children(parent)) {
      records.push_back(Value(parent + "/" + child + "/Name") + ", " + Value(parent + "/" + child + "/FilePath"));
    }
    return records;
  }

  TempDirectory directory;
  Owned<IFileSystemA> file_system =
      MakeObject<Core::FileSystem::CFileSystemObjectCreator, IFileSystemA>("IFileSystemA");
  std::optional<WorkFlowFactory> dictionaries{std::in_place, new Core::Dictionary::CDictionaryObjectCreator};
};

TEST_F(AbsorbTest, AFlowIsRecordedTakenInAndStarted) {
  const std::string file = WriteFlow("Sub");
  mediator.on_absorb = [&](IDictionary& flow) {
    EXPECT_NE(&flow, static_cast<IDictionary*>(&dictionary));
    EXPECT_TRUE(flow.Exists("/WorkFlowEngine/WorkFlowName"));
    EXPECT_FALSE(dictionary.Exists(kTree)) << "the tree comes after the mediator";
    return true;
  };
  logger.Clear();
  ASSERT_TRUE(Absorb(file, true));
  EXPECT_THAT(logger.GetTrace(), ElementsAre("workflow/FireAllReadySignals: Absorbing Sub, " + file));
  EXPECT_EQ(mediator.absorbs, 1);
  EXPECT_EQ(Value(std::string(kTree) + "/node0"), "Top");
  EXPECT_EQ(Value(std::string(kTree) + "/node0/node0"), "Sub");
  EXPECT_THAT(Records(), ElementsAre("Sub, " + file));
  const PString path;
  EXPECT_TRUE(Engine().GetWorkFlowFilePath("Sub", path.out()));
  EXPECT_EQ(path.str(), file);
  EXPECT_EQ(State().waiting, 1u);
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(1));
  EXPECT_THAT(mediator.Fired(), ElementsAre("Start,ofSub,go"));
}

TEST_F(AbsorbTest, TheSameFlowAgainOnlyStartsAgain) {
  const std::string file = WriteFlow("Sub");
  ASSERT_TRUE(Absorb(file, true));
  logger.Clear();
  ASSERT_TRUE(Absorb(file, true));
  EXPECT_THAT(logger.GetTrace(), IsEmpty());
  EXPECT_EQ(mediator.absorbs, 1);
  EXPECT_THAT(Children(std::string(kTree) + "/node0"), ElementsAre("node0"));
  EXPECT_EQ(State().waiting, 2u);
  EXPECT_EQ(Records().size(), 1u);
}

TEST_F(AbsorbTest, NamesDecideExactly) {
  EXPECT_TRUE(Absorb(WriteFlow("Sub")));
  EXPECT_TRUE(Absorb(WriteFlow("Sub2")));
  const auto flow = MakeObject<Core::Dictionary::CDictionaryObjectCreator, IDictionary>("IDictionary");
  flow->SetValue("/WorkFlowEngine/WorkFlowName", "sub");
  ASSERT_TRUE(flow->SaveFile(directory.file("other case.xml").c_str()));
  EXPECT_TRUE(Absorb(directory.file("other case.xml")));
  EXPECT_EQ(mediator.absorbs, 3);
  EXPECT_THAT(Children(std::string(kTree) + "/node0"), ElementsAre("node0", "node1", "node2"));
}

TEST_F(AbsorbTest, WithoutTheFlagOrASignalNothingIsQueued) {
  EXPECT_TRUE(Absorb(WriteFlow("Quiet"), false));
  EXPECT_TRUE(Absorb(WriteFlow("Mute", ""), true));
  EXPECT_EQ(State().waiting, 0u);
}

TEST_F(AbsorbTest, ARunningPumpFiresTheStartSignal) {
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Absorb(WriteFlow("Sub"), true));
  EXPECT_TRUE(mediator.WaitForFired(1));
}

TEST_F(AbsorbTest, WhatFailsChangesNothing) {
  WriteFile(directory.file("broken.xml"), "<a><b></a>");
  const std::string sub = WriteFlow("Sub");
  struct {
    const char* path;
    const char* error;
  } cases[] = {{nullptr, "Invalid parameter."},
               {"", "Invalid parameter."},
               {"/no/such/file.xml", "The workflow could not be absorbed."}};
  for (const auto& each : cases) {
    EXPECT_FALSE(Engine().AbsorbFlow(each.path, true));
    EXPECT_EQ(LastError(Engine()), each.error);
  }
  EXPECT_FALSE(Absorb(directory.file("broken.xml"), true));
  EXPECT_FALSE(Absorb(WriteFlow(""), true)) << "a workflow without a name";
  EXPECT_EQ(mediator.absorbs, 0);
  mediator.on_absorb = [](IDictionary&) { return false; };
  EXPECT_FALSE(Absorb(sub, true));
  EXPECT_EQ(LastError(Engine()), "The workflow could not be absorbed.");
  mediator.on_absorb = [](IDictionary&) -> bool { throw 1; };
  EXPECT_FALSE(Absorb(sub, true));
  EXPECT_FALSE(dictionary.Exists(kTree));
  EXPECT_EQ(State().waiting, 0u);
  EXPECT_THAT(Records(), IsEmpty());
  mediator.on_absorb = nullptr;
  EXPECT_TRUE(Absorb(sub)) << "the next attempt starts afresh";
  EXPECT_EQ(Records().size(), 1u);
}

TEST_F(AbsorbTest, NeedsAMediatorAndTwoDictionaries) {
  const std::string sub = WriteFlow("Sub");
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Absorb(sub));
  EXPECT_EQ(LastError(Engine()), "SignalMediator object not available.");
  AddGlobal("SignalMediator", &mediator);
  EXPECT_FALSE(Absorb(sub));
  EXPECT_EQ(LastError(Engine()), "A dictionary object is not available.");
  AddGlobal("Dictionary", &dictionary);
  dictionaries.reset();
  EXPECT_FALSE(Absorb(sub, true)) << "nobody makes one for the flow";
  EXPECT_EQ(mediator.absorbs, 0);
  EXPECT_EQ(State().waiting, 0u);
}

// A store that knows one object.
class OneObjectStore final : public Sdk::ObjectProtocol<OneObjectStore, IUtilityStore> {
 public:
  OneObjectStore(std::string name, IBaseWorkFlowObject* object)
      : ObjectProtocol("UtilityStore", "IUtilityStore"), name_(std::move(name)), object_(object) {}
  IBaseWorkFlowObject* GetUtilityObject(const char* name) override { return name == name_ ? object_ : nullptr; }
  bool IsUtilityObjectPresent(const char* name) override { return name == name_; }
  bool AddUtilityObject(IBaseWorkFlowObject*) override { return false; }
  bool AddUtilityObjectCreator(IFactoryObjectCreator*) override { return true; }
  bool IsUtilityObjectHeld(const char* name) override { return name == name_; }
  bool GetUtilityObjectNames(IOrvPStringList*) override { return false; }
  void Release() override {}

 private:
  const std::string name_;
  IBaseWorkFlowObject* const object_;
};

// Remembers what a flow dictionary is told, in order.
class WatchedDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::ForwardingDictionary;
  void SetEncryptionKey(const char* key) override { calls.push_back(std::string("key ") + key); }
  bool LoadFile(const char* file) override {
    calls.emplace_back("load");
    return ForwardingDictionary::LoadFile(file);
  }
  void Release() override { calls.emplace_back("release"); }
  std::vector<std::string> calls;
};

TEST_F(AbsorbTest, TheStoresDictionaryGetsTheKeyAndIsReleasedOnEveryWayOut) {
  const auto inner = MakeObject<Core::Dictionary::CDictionaryObjectCreator, IDictionary>("IDictionary");
  WatchedDictionary flow(inner.get());
  OneObjectStore store("Dictionary", &flow);
  ASSERT_TRUE(Engine().SetUtilityStore(&store));
  EXPECT_TRUE(Absorb(WriteFlow("Sub")));
  EXPECT_THAT(flow.calls, ElementsAre("key ", "load", "release"));
  flow.calls.clear();
  Engine().SetEncryptionKey("secret");
  EXPECT_FALSE(Absorb("/no/such/file.xml"));
  EXPECT_THAT(flow.calls, ElementsAre("key secret", "load", "release"));
}

TEST_F(AbsorbTest, TheGlobalDictionaryIsNeverLoadedOver) {
  OneObjectStore store("Dictionary", &dictionary);
  ASSERT_TRUE(Engine().SetUtilityStore(&store));
  EXPECT_TRUE(Absorb(WriteFlow("Sub")));
  EXPECT_EQ(Value("/WorkFlowEngine/WorkFlowName"), "Top");
}

TEST_F(AbsorbTest, RecordsOfALoadedStateCountAsAbsorbed) {
  const std::string file = WriteFlow("Sub");
  Set("/WorkFlowEngine/WorkFlows/Flow0/Name", "Sub");
  Set("/WorkFlowEngine/WorkFlows/Flow0/FilePath", file.c_str());
  const std::string state = directory.file("top.xml");
  ASSERT_TRUE(dictionary.SaveFile(state.c_str()));
  ASSERT_TRUE(Engine().LoadState(state.c_str()));
  EXPECT_TRUE(Absorb(file));
  EXPECT_EQ(mediator.absorbs, 0);
}

// --- The search for new components ---

class Finder final : public TestNode<Finder>, public IComponentFinder {
 public:
  static constexpr const char* kTypeName = "FindNewComponentsFromAbsorbedFlow";
  static inline std::vector<std::string> calls;
  static inline bool throws = false;
  Finder() : TestNode(kTypeName) {}
  ~Finder() {
    try {
      calls.emplace_back("gone");
    } catch (...) {  // Where tests let memory fail nobody reads it.
    }
  }
  bool Signal(const char*) override { return false; }
  bool Initialise(const char* instance_name) override {
    calls.push_back(std::string("made '") + instance_name + "'");
    return true;
  }
  void* QueryInterface(const char* name) override {
    if (name != nullptr && std::strcmp(name, "IComponentFinder") == 0) return static_cast<IComponentFinder*>(this);
    return TestNode::QueryInterface(name);
  }
  bool FindNewComponents(const char* flow_file_path, IOrvPStringList* components) override {
    calls.emplace_back(flow_file_path);
    if (throws) throw 1;
    return components->GetCount() == 0 && components->Add("Part", 4);
  }
};

// From the start, so that no absorb loads the library of the real one.
const WorkFlowFactory finders(new TestNodeCreator<Finder>);

TEST_F(AbsorbTest, TheComponentFinderSeesEachFlowOnce) {
  const std::string file = WriteFlow("Sub");
  for (const bool throws : {false, true}) {
    SCOPED_TRACE(throws);
    engine.reset();
    Finder::throws = throws;
    Finder::calls.clear();
    EXPECT_TRUE(Absorb(file));
    EXPECT_TRUE(Absorb(file));
    EXPECT_THAT(Finder::calls, ElementsAre("made ''", file, "gone"));
  }
}

TEST_F(AbsorbTest, AMoveIsLoggedAndFollowsTheAbsorbingNodes) {
  Set(std::string(kTree) + "/node0", "Top");
  Set(std::string(kTree) + "/node0/node0", "Other");
  Set("/Nodes/n/wfName", "Other");
  const std::string file = WriteFlow("Sub");
  ASSERT_TRUE(Absorb(file));
  EXPECT_EQ(Value(std::string(kTree) + "/node0/node1"), "Sub");
  mediator.absorbing_nodes = {"/Nodes/unknown", "/Nodes/n"};
  logger.Clear();
  ASSERT_TRUE(Absorb(file));
  EXPECT_THAT(logger.GetTrace(), ElementsAre("workflow/UpdateAbsorbTree: Moving the child node"));
  EXPECT_EQ(Value(std::string(kTree) + "/node0/node0/node0"), "Sub");
}

// --- Several at once ---

TEST_F(AbsorbTest, AFlowThatAbsorbsOthersAndItselfWhileItIsTakenIn) {
  const std::string outer = WriteFlow("Outer");
  const std::string inner = WriteFlow("Inner");
  mediator.on_absorb = [&](IDictionary& flow) {
    const PString name;
    EXPECT_TRUE(flow.GetValue("/WorkFlowEngine/WorkFlowName", name.out()));
    if (name.str() == "Outer") {
      EXPECT_TRUE(Absorb(inner, true));
    }
    EXPECT_TRUE(Absorb(outer));
    EXPECT_TRUE(flow.Exists("/WorkFlowEngine/Mappings/StartSignal")) << "each absorb has its own dictionary";
    return true;
  };
  EXPECT_TRUE(Absorb(outer, true));
  EXPECT_EQ(mediator.absorbs, 2);
  EXPECT_THAT(Records(), ElementsAre("Outer, " + outer, "Inner, " + inner));
  EXPECT_EQ(State().waiting, 2u);
}

TEST_F(AbsorbTest, ManyThreadsTakeEachFlowInOnce) {
  constexpr int kThreads = 4;
  constexpr int kFlows = 6;
  std::vector<std::string> files;
  for (int i = 0; i < kFlows; ++i) files.push_back(WriteFlow("Flow" + std::to_string(i)));
  mediator.on_absorb = [](IDictionary&) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return true;
  };
  Engine().StartFlowing();
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (const std::string& file : files) EXPECT_TRUE(Absorb(file, true));
    });
  }
  threads.clear();
  EXPECT_EQ(mediator.absorbs, kFlows);
  EXPECT_TRUE(mediator.WaitForFired(kThreads * kFlows));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_EQ(Records().size(), static_cast<std::size_t>(kFlows));
  EXPECT_EQ(Children(std::string(kTree) + "/node0").size(), static_cast<std::size_t>(kFlows));
}

// The mediator's lock, as the engine knows it.
class MediatorLock {
 public:
  void Lock() {
    mutex_.lock();
    ++MediatorLockDepth();
  }
  void Unlock() {
    --MediatorLockDepth();
    mutex_.unlock();
  }

 private:
  std::recursive_mutex mutex_;
};

TEST_F(AbsorbTest, AThreadThatHoldsTheMediatorsLockDoesNotWaitForAnotherAbsorb) {
  const std::string file = WriteFlow("Sub");
  MediatorLock lock;
  std::promise<void> begun;
  std::atomic<bool> first = true;
  mediator.on_absorb = [&](IDictionary&) {
    if (first.exchange(false)) begun.set_value();
    lock.Lock();
    lock.Unlock();
    return true;
  };
  lock.Lock();
  std::jthread other([&] { EXPECT_TRUE(Absorb(file)); });
  begun.get_future().wait();
  EXPECT_TRUE(Absorb(file));
  lock.Unlock();
  other.join();
  EXPECT_EQ(Records().size(), 1u);
}

TEST_F(AbsorbTest, AThreadThatHoldsTheMediatorsLockDoesNotWaitForThePump) {
  const std::string file = WriteFlow("Sub");
  MediatorLock lock;
  std::promise<void> firing;
  std::promise<void> locked;
  std::atomic<bool> first = true;
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    if (!first.exchange(false)) return;
    firing.set_value();
    locked.get_future().wait();
    lock.Lock();  // As the real mediator does, with the engine's mutex held.
    lock.Unlock();
  };
  Engine().SetStartSignal("R", "r", "go");
  ASSERT_TRUE(Engine().StartFlowing());
  firing.get_future().wait();
  lock.Lock();
  locked.set_value();
  EXPECT_TRUE(Absorb(file, true));
  lock.Unlock();
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,go", "Start,ofSub,go"));
}

}  // namespace
}  // namespace orv_test
