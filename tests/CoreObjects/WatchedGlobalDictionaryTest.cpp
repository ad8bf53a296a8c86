#include "CoreObjects/WatchedGlobalDictionary.h"

#include <gtest/gtest.h>

#include "tests/fakes/ForwardingDictionary.h"

namespace OrvWorkFlow::Core {
namespace {

constexpr std::array<const char*, 2> kPatterns = {"/a", "/b"};

class CountedWatch final : public IDictionaryWatch {
 public:
  std::uint64_t GetCount() override { return count; }
  void Release() override { ++releases; }
  bool GetChanges(std::uint64_t* /*count*/, IOrvPStringList* /*paths*/) override { return false; }
  std::uint64_t count = 0;
  int releases = 0;
};

class SomeDictionary final : public orv_test::ForwardingDictionary {
 public:
  SomeDictionary() : ForwardingDictionary(nullptr) {}
  IDictionaryWatch* WatchChanges(const char* const* patterns, std::size_t count) override {
    EXPECT_EQ(patterns, kPatterns.data());
    EXPECT_EQ(count, kPatterns.size());
    return has_watch ? &watch : nullptr;
  }
  std::uint64_t GetChangeCount() override { return changes; }
  CountedWatch watch;
  bool has_watch = true;
  std::uint64_t changes = 0;
};

class WatchedGlobalDictionaryTest : public ::testing::Test {
 protected:
  ~WatchedGlobalDictionaryTest() override { WorkFlowFactory::ReleaseGlobalObjects(); }

  SomeDictionary first;
  SomeDictionary second;
  WatchedGlobalDictionary<kPatterns> watched;
};

TEST_F(WatchedGlobalDictionaryTest, FollowsTheGlobalObjects) {
  EXPECT_EQ(watched.Get(), WatchedState());
  for (SomeDictionary* const dictionary : {&first, &second}) {
    ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", dictionary, false));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(watched.Get().dictionary, dictionary);
    WorkFlowFactory::ReleaseGlobalObjects();
    EXPECT_EQ(watched.Get(), WatchedState());
    EXPECT_EQ(dictionary->watch.releases, 1);
  }
}

TEST_F(WatchedGlobalDictionaryTest, AStateIsThatOfTheWatchAndNumbersAreNotUsedAgain) {
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", &first, false));
  const WatchedState before = watched.Get();
  first.changes = 7;
  EXPECT_EQ(watched.Get(), before) << "elsewhere";
  first.watch.count = 1;
  const WatchedState after = watched.Get();
  EXPECT_EQ(after.number, before.number + 1);
  WorkFlowFactory::ReleaseGlobalObjects();
  first.watch.count = 0;
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", &first, false));
  EXPECT_GT(watched.Get().number, after.number) << "another dictionary at the same address";
}

TEST_F(WatchedGlobalDictionaryTest, WithoutAWatchEveryChangeCounts) {
  first.has_watch = false;
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", &first, false));
  const WatchedState before = watched.Get();
  EXPECT_EQ(watched.Get(), before);
  first.changes = 7;
  EXPECT_NE(watched.Get(), before);
}

}  // namespace
}  // namespace OrvWorkFlow::Core
