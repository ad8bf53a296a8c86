#include "OrvWorkFlow/sdk/ObjectProtocol.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/sdk/SharedObject.h"
#include "tests/support/MarshalledTexts.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

class IThing : public IBaseWorkFlowObject {
 public:
  virtual int GetNumber() = 0;

 protected:
  ~IThing() = default;
};

class Thing final : public Sdk::ObjectProtocol<Thing, IThing> {
 public:
  Thing() : ObjectProtocol("Thing", "IThing") {}
  int GetNumber() override { return 7; }
  void Fail(const char* text) { SetLastError(text); }

  using ObjectProtocol::GetContentDirectories;
  using ObjectProtocol::GetEncryptionKey;
  using ObjectProtocol::GetUtilityStore;
  using ObjectProtocol::GetWriteDirectory;
};

class ThrowingText final : public IOrvPString {
 public:
  bool Assign(const char* /*text*/, std::size_t /*length*/) override { throw std::runtime_error("full"); }
  const char* GetText() const override { return ""; }
  std::size_t GetLength() const override { return 0; }
  void Release() override {}
};

class ObjectProtocolTest : public ::testing::Test {
 protected:
  ~ObjectProtocolTest() override { thing_->Release(); }

  Thing* thing_ = new Thing;
};

TEST_F(ObjectProtocolTest, AnswersToItsInterfaceByItsExactName) {
  auto* const found = static_cast<IThing*>(thing_->QueryInterface("IThing"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetNumber(), 7);
  for (const char* name : {"", "ithing", "IThin", "IThing ", "Thing", "IBaseWorkFlowObject"}) {
    EXPECT_EQ(thing_->QueryInterface(name), nullptr) << name;
  }
  EXPECT_EQ(thing_->QueryInterface(nullptr), nullptr);
}

TEST_F(ObjectProtocolTest, TellsVersionTypeAndLastError) {
  const PString text("before");
  EXPECT_TRUE(thing_->GetLastErrorText(text.out()));
  EXPECT_EQ(text.str(), "");
  EXPECT_TRUE(thing_->GetVersion(text.out()));
  EXPECT_EQ(text.str(), "TAVIROVERSION");
  EXPECT_TRUE(thing_->GetTypeName(text.out()));
  EXPECT_EQ(text.str(), "Thing");
  thing_->Fail("It failed.");
  EXPECT_TRUE(thing_->GetLastErrorText(text.out()));
  EXPECT_EQ(text.str(), "It failed.");
  EXPECT_FALSE(thing_->GetVersion(nullptr));
  ThrowingText throwing;
  EXPECT_FALSE(thing_->GetTypeName(&throwing));
}

TEST_F(ObjectProtocolTest, KeepsWhatItIsGiven) {
  thing_->AddContentDirectory("$TEMP/a");
  thing_->AddContentDirectory(nullptr);
  thing_->AddContentDirectory("b");
  EXPECT_EQ(thing_->GetContentDirectories(), (std::vector<std::string>{"$TEMP/a", "b"}));
  thing_->ResetContentDirectories();
  EXPECT_TRUE(thing_->GetContentDirectories().empty());
  thing_->SetWriteDirectory("w");
  EXPECT_EQ(thing_->GetWriteDirectory(), "w");
  thing_->SetEncryptionKey("key");
  EXPECT_EQ(thing_->GetEncryptionKey(), "key");
  thing_->SetEncryptionKey(nullptr);
  EXPECT_EQ(thing_->GetEncryptionKey(), "");
  EXPECT_EQ(thing_->GetUtilityStore(), nullptr);
  EXPECT_FALSE(thing_->SetUtilityStore(nullptr));
}

TEST_F(ObjectProtocolTest, HasNoStateAndNoNeeds) {
  EXPECT_FALSE(thing_->LoadState(nullptr));
  EXPECT_FALSE(thing_->SaveState("somewhere"));
  EXPECT_FALSE(thing_->ReservedLoad(""));
  EXPECT_FALSE(thing_->ReservedSave(""));
  const PStringList names({"before"});
  EXPECT_TRUE(thing_->GetNeededGlobalUtilityObjects(names.out()));
  EXPECT_TRUE(names.vec().empty());
  EXPECT_TRUE(thing_->GetNeededLocalUtilityObjects(names.out()));
  EXPECT_FALSE(thing_->GetNeededLocalUtilityObjects(nullptr));
}

class SharedThing final : public Sdk::SharedObject<SharedThing, IThing> {
 public:
  explicit SharedThing(bool* gone) : SharedObject("SharedThing", "IThing"), gone_(gone) {}
  ~SharedThing() { *gone_ = true; }
  int GetNumber() override { return 8; }

 private:
  bool* gone_;
};

TEST(SharedObject, LivesUntilItsLastOwnerReleasesIt) {
  bool gone = false;
  auto* const thing = new SharedThing(&gone);
  IFactoryObjectCreator* const creator = Sdk::SharedObjectCreator<SharedThing>::New(thing);
  ASSERT_NE(creator, nullptr);
  const PString name;
  EXPECT_TRUE(creator->GetObjectName(name.out()));
  EXPECT_EQ(name.str(), "SharedThing");
  EXPECT_FALSE(creator->CreatesWorkNodes());
  IBaseWorkFlowObject* const first = creator->Create();
  EXPECT_EQ(first, thing);
  EXPECT_EQ(creator->Create(), first);
  IFactoryObjectCreator* const clone = creator->Clone();
  creator->Destroy();
  thing->Release();
  first->Release();
  first->Release();
  EXPECT_FALSE(gone) << "the clone holds it";
  clone->Destroy();
  EXPECT_TRUE(gone);
  EXPECT_EQ(Sdk::SharedObjectCreator<SharedThing>::New(nullptr), nullptr);
}

}  // namespace
