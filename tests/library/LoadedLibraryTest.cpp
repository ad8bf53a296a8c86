// The library in the hands of a host that knows it only by its file, the contract and the factory.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/library/LoadedLibrary.h"
#include "tests/library/RawTable.h"

namespace OrvWorkFlow {
namespace {

using orv_test::CallSlot;
using orv_test::SlotOf;

struct ObjectFacts {
  const char* name;
  const char* type_name;
  std::vector<const char*> interfaces;
  bool keeps_last_error;
  bool loads_and_saves_nothing;  // answers true to state operations without doing anything
};

// In the order of registration.
const std::vector<ObjectFacts>& Objects() {
  static const std::vector<ObjectFacts> objects = {
      {"Dictionary", "Dictionary", {"IDictionary", "IDictionary3"}, true, false},
      {"Encryption", "Encryption", {"IEncryption"}, true, false},
      {"FileSystem", "FileSystem", {"IFileSystemA", "IFileSystemW"}, true, false},
      {"RegExp", "IRegExp", {"IRegExp"}, true, true},
      {"UtilityStore", "UtilityStore", {"IUtilityStore"}, false, false},
      {"WorkFlowEngine", "WorkFlowEngine", {"IWorkFlowEngine"}, true, false},
      {"SignalMediator", "SignalMediator", {"ISignalMediator"}, true, false},
  };
  return objects;
}

struct RegistrationLog {
  std::vector<std::pair<std::string, bool>> events;
  static void Record(const char* name, bool registered, void* context) {
    static_cast<RegistrationLog*>(context)->events.emplace_back(name, registered);
  }
};

std::string Text(IOrvPString* text) { return {text->GetText(), text->GetLength()}; }

class LoadedLibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WorkFlowFactory::SetRegistrationObserver(&RegistrationLog::Record, &log_);
    library_ = orv_test::LoadCoreObjects();
    ASSERT_NE(library_, nullptr);
    text_ = static_cast<IOrvPString*>(DirectGetObject("IOrvPString"));
    ASSERT_NE(text_, nullptr);
  }
  void TearDown() override {
    if (text_ != nullptr) text_->Release();
    if (library_ != nullptr) {
      EXPECT_TRUE(orv_test::UnloadCoreObjects(library_));
    }
    WorkFlowFactory::SetRegistrationObserver(nullptr, nullptr);
  }

  RegistrationLog log_;
  void* library_ = nullptr;
  IOrvPString* text_ = nullptr;
};

TEST_F(LoadedLibraryTest, RegistersSevenCreatorsInOrderAndTakesThemBackInReverse) {
  std::vector<std::pair<std::string, bool>> expected;
  for (const ObjectFacts& facts : Objects()) expected.emplace_back(facts.name, true);
  EXPECT_EQ(log_.events, expected);

  log_.events.clear();
  ASSERT_TRUE(orv_test::UnloadCoreObjects(std::exchange(library_, nullptr)));
  expected.clear();
  for (auto facts = Objects().rbegin(); facts != Objects().rend(); ++facts) expected.emplace_back(facts->name, false);
  EXPECT_EQ(log_.events, expected);
  for (const ObjectFacts& facts : Objects()) EXPECT_FALSE(WorkFlowFactory::IsObjectPresent(facts.name)) << facts.name;
}

TEST_F(LoadedLibraryTest, EveryCreatorAnswersThroughItsRawTable) {
  for (const ObjectFacts& facts : Objects()) {
    SCOPED_TRACE(facts.name);
    IFactoryObjectCreator* creator = WorkFlowFactory::CloneCreator(facts.name);
    ASSERT_NE(creator, nullptr);
    EXPECT_TRUE(CallSlot<bool>(creator, 0, text_));
    EXPECT_EQ(Text(text_), facts.name);
    EXPECT_TRUE(CallSlot<bool>(creator, 1, text_));
    EXPECT_EQ(Text(text_), "TAVIROVERSION");
    EXPECT_FALSE(CallSlot<bool>(creator, 0, static_cast<IOrvPString*>(nullptr)));
    auto* first = CallSlot<IBaseWorkFlowObject*>(creator, 2);
    auto* second = CallSlot<IBaseWorkFlowObject*>(creator, 2);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_FALSE(CallSlot<bool>(creator, 3));
    auto* clone = CallSlot<IFactoryObjectCreator*>(creator, 4);
    ASSERT_NE(clone, nullptr);
    EXPECT_TRUE(CallSlot<bool>(clone, 0, text_));
    EXPECT_EQ(Text(text_), facts.name);
    CallSlot<void>(clone, 5);
    CallSlot<void>(first, 15);
    CallSlot<void>(second, 15);
    CallSlot<void>(creator, 5);
  }
}

TEST_F(LoadedLibraryTest, EveryObjectAnswersTheBaseProtocolThroughItsRawTable) {
  auto* names = static_cast<IOrvPStringList*>(DirectGetObject("IOrvPStringList"));
  for (const ObjectFacts& facts : Objects()) {
    SCOPED_TRACE(facts.name);
    IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject(facts.name);
    ASSERT_NE(object, nullptr);
    for (const char* name : facts.interfaces) {
      auto* face = static_cast<IBaseWorkFlowObject*>(CallSlot<void*>(object, 0, name));
      ASSERT_NE(face, nullptr) << name;
      // Each face answers the protocol of its own.
      EXPECT_TRUE(CallSlot<bool>(face, 11, text_)) << name;
      EXPECT_EQ(Text(text_), facts.type_name);
    }
    for (const char* unknown : {"IBaseWorkFlowObject", "idictionary", "IWorkNode", "", "IDictionary "}) {
      EXPECT_EQ(CallSlot<void*>(object, 0, unknown), nullptr) << unknown;
    }
    EXPECT_EQ(CallSlot<void*>(object, 0, static_cast<const char*>(nullptr)), nullptr);
    EXPECT_TRUE(CallSlot<bool>(object, 1, text_));
    EXPECT_EQ(Text(text_), "TAVIROVERSION");
    text_->Assign("untouched", 9);
    EXPECT_EQ(CallSlot<bool>(object, 2, text_), facts.keeps_last_error);
    EXPECT_EQ(Text(text_), facts.keeps_last_error ? "" : "untouched");
    EXPECT_FALSE(CallSlot<bool>(object, 7, "argument"));
    EXPECT_FALSE(CallSlot<bool>(object, 9, "argument"));
    EXPECT_TRUE(CallSlot<bool>(object, 13, names));
    EXPECT_TRUE(CallSlot<bool>(object, 14, names));
    CallSlot<void>(object, 3);
    CallSlot<void>(object, 4, static_cast<const char*>(nullptr));
    CallSlot<void>(object, 5, static_cast<const char*>(nullptr));
    CallSlot<void>(object, 10, static_cast<const char*>(nullptr));
    if (facts.loads_and_saves_nothing) {
      EXPECT_TRUE(CallSlot<bool>(object, 6, "anything"));
      EXPECT_TRUE(CallSlot<bool>(object, 8, "anything"));
    }
    CallSlot<void>(object, 15);
  }
  names->Release();
}

TEST_F(LoadedLibraryTest, NeedsAreNamed) {
  struct Needs {
    const char* object;
    std::vector<std::string> global;
    std::vector<std::string> local;
  };
  const Needs all[] = {
      {"Dictionary", {}, {"FileSystem", "Encryption"}},
      {"Encryption", {}, {}},
      {"FileSystem", {}, {}},
      {"RegExp", {}, {}},
      {"UtilityStore", {}, {}},
      {"WorkFlowEngine", {"SignalMediator"}, {"Dictionary", "FileSystem"}},
      {"SignalMediator", {"WorkFlowEngine", "HostApp"}, {"Dictionary", "FileSystem"}},
  };
  auto* names = static_cast<IOrvPStringList*>(DirectGetObject("IOrvPStringList"));
  for (const Needs& needs : all) {
    SCOPED_TRACE(needs.object);
    IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject(needs.object);
    ASSERT_NE(object, nullptr);
    const auto read = [&](std::size_t slot) {
      EXPECT_TRUE(CallSlot<bool>(object, slot, names));
      std::vector<std::string> result;
      for (std::size_t i = 0; i < names->GetCount(); ++i) result.emplace_back(names->GetText(i));
      return result;
    };
    EXPECT_EQ(read(13), needs.global);
    EXPECT_EQ(read(14), needs.local);
    object->Release();
  }
  names->Release();
}

TEST_F(LoadedLibraryTest, DictionaryThroughItsRawTable) {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("Dictionary");
  ASSERT_NE(object, nullptr);
  auto* dictionary = static_cast<IDictionary*>(object->QueryInterface("IDictionary3"));
  ASSERT_NE(dictionary, nullptr);
  // The last three setters take a string, a double and an integer; the last getters read them back.
  EXPECT_TRUE(CallSlot<bool>(dictionary, 23, "/a", "text"));
  EXPECT_TRUE(CallSlot<bool>(dictionary, 24, "/b", 0.25));
  EXPECT_TRUE(CallSlot<bool>(dictionary, 25, "/c", std::int32_t{-5}));
  EXPECT_TRUE(CallSlot<bool>(dictionary, 32, "/a", text_));
  EXPECT_EQ(Text(text_), "text");
  double number = 0;
  EXPECT_TRUE(CallSlot<bool>(dictionary, 33, "/b", &number));
  EXPECT_EQ(number, 0.25);
  std::int32_t integer = 0;
  EXPECT_TRUE(CallSlot<bool>(dictionary, 34, "/c", &integer));
  EXPECT_EQ(integer, -5);
  EXPECT_EQ(CallSlot<ValueType>(dictionary, 39, "/b"), ValueType::Double);
  EXPECT_TRUE(CallSlot<bool>(dictionary, 40, "/c"));
  EXPECT_TRUE(CallSlot<bool>(dictionary, 41, "/c"));
  EXPECT_FALSE(CallSlot<bool>(dictionary, 40, "/c"));
  EXPECT_TRUE(CallSlot<bool>(dictionary, 47, text_));
  EXPECT_EQ(Text(text_),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n"
            "<IDictionaryRoot IDictionaryFileVersion=\"2.0.0.0\"><a __type=\"str\">text</a>\r\n\t"
            "<b __type=\"dbl\">0.250000</b>\r\n</IDictionaryRoot>");
  object->Release();
}

TEST_F(LoadedLibraryTest, EngineKeepsItsMessagesAboutTheStore) {
  IBaseWorkFlowObject* engine = WorkFlowFactory::CreateNewObject("WorkFlowEngine");
  IBaseWorkFlowObject* store_object = WorkFlowFactory::CreateNewObject("UtilityStore");
  ASSERT_NE(engine, nullptr);
  ASSERT_NE(store_object, nullptr);
  auto* store = static_cast<IUtilityStore*>(store_object->QueryInterface("IUtilityStore"));
  ASSERT_NE(store, nullptr);
  EXPECT_FALSE(CallSlot<bool>(engine, 12, static_cast<IUtilityStore*>(nullptr)));
  EXPECT_TRUE(CallSlot<bool>(engine, 2, text_));
  EXPECT_EQ(Text(text_), "Invalid parameter.");
  EXPECT_TRUE(CallSlot<bool>(engine, 12, store));
  EXPECT_FALSE(CallSlot<bool>(engine, 12, store));
  EXPECT_TRUE(CallSlot<bool>(engine, 2, text_));
  EXPECT_EQ(Text(text_), "The UtilityStore has already been set.");
  engine->Release();
  store_object->Release();
}

}  // namespace
}  // namespace OrvWorkFlow
