// A watch sees every change of what it watches; that it sees little else makes it worth having.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <utility>

#include "dictionary/object/DictionaryObject.h"
#include "tests/dictionary/DictionaryTesting.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

struct Releaser {
  void operator()(IDictionaryWatch* watch) const { watch->Release(); }
};
using WatchPointer = std::unique_ptr<IDictionaryWatch, Releaser>;

WatchPointer Watch(IDictionary& dictionary, const std::vector<const char*>& patterns) {
  return WatchPointer(dictionary.WatchChanges(patterns.data(), patterns.size()));
}

class ChangeWatchesTest : public ::testing::Test {
 protected:
  // True when the count has changed since the last call.
  bool Seen() { return std::exchange(last_, watch->GetCount()) != last_; }

  CDictionary dictionary;
  WatchPointer watch = Watch(dictionary, {"/W/*/maps", "/W/tree"});

 private:
  std::uint64_t last_ = watch->GetCount();
};

TEST_F(ChangeWatchesTest, WhatMatchesAPatternOrIsAboveOrBelowIsSeen) {
  for (const char* path :
       {"/W/a/maps", "/W/b/maps/done/map0", "W//a///maps/x/", "/W/tree", "/W/tree/node0", "/W/a", "/W", "/"}) {
    dictionary.SetValue(path, "x");
    EXPECT_TRUE(Seen()) << path;
  }
}

TEST_F(ChangeWatchesTest, WhatIsElsewhereIsNotSeen) {
  for (const char* path : {"/V", "/W2", "/w/tree", "/W/a/map", "/W/a/maps2/x", "/W/a/b/maps", "/V/tree"}) {
    EXPECT_TRUE(dictionary.SetValue(path, "x")) << path;
    EXPECT_FALSE(Seen()) << path;
  }
  EXPECT_FALSE(dictionary.SetValue("/W/tree/a b", "x"));
  EXPECT_FALSE(Seen());
  SaveText(dictionary);
  EXPECT_FALSE(Seen()) << "saving changes the root's version";
}

TEST_F(ChangeWatchesTest, WhatWasElsewhereBeforeIsSeenByALaterWatch) {
  EXPECT_TRUE(dictionary.SetValue("/V/a/x", "1"));
  EXPECT_TRUE(dictionary.SetValue("/V/a/y", "1"));
  const WatchPointer later = Watch(dictionary, {"/V/a"});
  EXPECT_TRUE(dictionary.SetValue("/V/a/x", "2"));
  EXPECT_EQ(later->GetCount(), 1u);
  EXPECT_TRUE(dictionary.SetValue("/V/b", "2"));
  EXPECT_TRUE(dictionary.SetValue("/V/b/x", "2"));
  EXPECT_TRUE(dictionary.SetValue("/V", "2"));
  EXPECT_EQ(later->GetCount(), 2u);
  EXPECT_FALSE(Seen());
}

TEST_F(ChangeWatchesTest, EachWayOfChangingIsSeen) {
  const orv_test::PStringList texts(Names{"/V/x"});
  const orv_test::Stream stream;
  ASSERT_TRUE(dictionary.SetValue("/V/x", "x"));
  ASSERT_TRUE(dictionary.SaveSubtreeToStream("/V", stream.out()));
  CDictionary other;
  ASSERT_TRUE(other.SetValue("/a", "x"));
  const std::vector<std::pair<const char*, std::function<bool()>>> changes = {
      {"list", [&] { return SetStrings(dictionary, "/W/a/maps", {"x"}); }},
      {"attribute", [&] { return dictionary.SetAttribute("/W/a/maps", "k", "v"); }},
      {"attribute removed", [&] { return dictionary.RemoveAttribute("/W/a/maps", "k"); }},
      {"binary", [&] { return dictionary.SetBinary("/W/a/maps/b", "x", 1); }},
      {"renamed", [&] { return dictionary.Rename("/W/a/maps/b", "c"); }},
      {"renamed above", [&] { return dictionary.Rename("/W/a", "b"); }},
      {"renamed away", [&] { return dictionary.Rename("/W/b/maps", "x"); }},
      {"renamed to it", [&] { return dictionary.Rename("/W/b/x", "maps"); }},
      {"cleared", [&] { return dictionary.Clear("/W/b/maps"); }},
      {"copied", [&] { return dictionary.CopySubtree("/V", "/W/c/maps"); }},
      {"moved from", [&] { return dictionary.MoveSubtree("/W/c", "/V/c"); }},
      {"moved to", [&] { return dictionary.MoveSubtree("/V/c", "/W/d"); }},
      {"merged", [&] { return dictionary.MergeSubtree(&other, "/", "/W/tree"); }},
      {"loaded below", [&] { return dictionary.LoadSubtreeFromStream("/W/tree", stream.out()); }},
      {"loaded above", [&] { return dictionary.LoadSubtreeFromStream("/W", stream.out()); }},
      {"redirection", [&] { return dictionary.SetRedirection("/W/tree/r", texts.out()); }},
      {"redirected", [&] { return dictionary.SetValue("/V/x", "y"); }},
      {"redirected again", [&] { return dictionary.SetValue("/V/x", "z"); }},
      {"no redirection", [&] { return dictionary.RemoveRedirection("/W/tree/r"); }},
      {"deleted", [&] { return dictionary.Delete("/W/tree/r"); }},
      {"deleted above", [&] { return dictionary.Delete("/W"); }},
      {"loaded", [&] { return LoadText(dictionary, "<IDictionaryRoot/>"); }},
      {"not loaded", [&] { return !LoadText(dictionary, "<IDictionaryRoot>"); }},
  };
  for (const auto& [what, change] : changes) {
    EXPECT_TRUE(change()) << what;
    EXPECT_TRUE(Seen()) << what;
  }
  ASSERT_TRUE(dictionary.SetValue("/V/x", "elsewhere"));
  EXPECT_FALSE(Seen()) << "there is no redirection any more";
}

TEST_F(ChangeWatchesTest, AWriteThatIsRedirectedIntoItIsSeen) {
  const orv_test::PStringList targets(Names{"/W/tree/x"});
  ASSERT_TRUE(dictionary.SetRedirection("/V/r", targets.out()));
  EXPECT_FALSE(Seen());
  ASSERT_TRUE(dictionary.SetValue("/V/r", "x"));
  EXPECT_TRUE(Seen());
  EXPECT_EQ(GetString(dictionary, "/W/tree/x"), "x");
}

TEST_F(ChangeWatchesTest, ARedirectionElsewhereCostsNothing) {
  const orv_test::PStringList targets(Names{"/V/x"});
  ASSERT_TRUE(dictionary.SetRedirection("/V/r", targets.out()));
  ASSERT_TRUE(dictionary.SetValue("/W/tree", "x"));
  EXPECT_TRUE(Seen());
  ASSERT_TRUE(dictionary.SetValue("/V/r", "x"));
  EXPECT_FALSE(Seen());
}

TEST(ChangeWatches, WhatIsNoPatternGivesNone) {
  CDictionary dictionary;
  const char* const null_pattern = nullptr;
  EXPECT_EQ(dictionary.WatchChanges(nullptr, 1), nullptr);
  EXPECT_EQ(dictionary.WatchChanges(&null_pattern, 1), nullptr);
  EXPECT_EQ(Watch(dictionary, {}), nullptr);
  for (const char* pattern : {"/a b", "/W/**", "/W/*x", "/W/\xC3\xA4"}) {
    EXPECT_EQ(Watch(dictionary, {pattern}), nullptr) << pattern;
  }
}

TEST(ChangeWatches, TheEmptyPatternWatchesEverything) {
  CDictionary dictionary;
  const WatchPointer watch = Watch(dictionary, {"/"});
  const std::uint64_t before = watch->GetCount();
  dictionary.SetValue("/any/thing", "x");
  EXPECT_NE(watch->GetCount(), before);
}

TEST(ChangeWatches, MayOutliveTheDictionary) {
  auto dictionary = std::make_unique<CDictionary>();
  const WatchPointer watch = Watch(*dictionary, {"/a"});
  dictionary->SetValue("/a", "x");
  const std::uint64_t count = watch->GetCount();
  dictionary.reset();
  EXPECT_EQ(watch->GetCount(), count);
}

class GetChangesTest : public ChangeWatchesTest {
 protected:
  // Nothing when they are not known.
  std::optional<Names> Changes() {
    const orv_test::PStringList paths;
    if (!watch->GetChanges(&count, paths.out())) return {};
    EXPECT_EQ(count, watch->GetCount());
    return paths.vec();
  }
  void Set(const char* path) { ASSERT_TRUE(dictionary.SetValue(path, "x")); }

  std::uint64_t count = watch->GetCount();
};

TEST_F(GetChangesTest, PathsAreKeptFromTheFirstQuestionOn) {
  Set("/W/tree/a");
  EXPECT_EQ(Changes(), std::nullopt);
  EXPECT_EQ(count, 0u);
  count = watch->GetCount();
  EXPECT_EQ(Changes(), Names());
  for (const char* path : {"/W/tree/b", "W//tree/c", "/V/elsewhere", "/W/tree/b"}) Set(path);
  const std::uint64_t before = count;
  EXPECT_EQ(Changes(), (Names{"/W/tree/b", "W//tree/c", "/W/tree/b"}));
  EXPECT_EQ(Changes(), Names());
  count = before + 1;
  EXPECT_EQ(Changes(), (Names{"W//tree/c", "/W/tree/b"}));
}

TEST_F(GetChangesTest, MoreThanItKeepsAreNotKnown) {
  Changes();
  for (int i = 0; i < 64; ++i) Set(("/W/tree/n" + std::to_string(i)).c_str());
  ASSERT_TRUE(Changes().has_value());
  const std::uint64_t before = count;
  for (int i = 0; i < 65; ++i) Set(("/W/tree/n" + std::to_string(i)).c_str());
  EXPECT_EQ(Changes(), std::nullopt);
  EXPECT_EQ(count, before);
  ++count;
  EXPECT_EQ(Changes()->size(), 64u);
}

TEST_F(GetChangesTest, NothingNamesALoadOrWhatIsBehindARedirection) {
  Changes();
  LoadText(dictionary, "<IDictionaryRoot/>");
  EXPECT_EQ(Changes(), std::nullopt);
  count = watch->GetCount();
  Set("/V/x");
  const orv_test::PStringList targets(Names{"/V/x"});
  ASSERT_TRUE(dictionary.SetRedirection("/W/tree/r", targets.out()));
  EXPECT_EQ(Changes(), Names{"/W/tree/r"});
  Set("/V/x");
  EXPECT_EQ(Changes(), std::nullopt);
}

TEST_F(GetChangesTest, NullsAndCountsToComeGiveNothing) {
  const orv_test::PStringList paths(Names{"kept"});
  EXPECT_FALSE(watch->GetChanges(nullptr, paths.out()));
  EXPECT_FALSE(watch->GetChanges(&count, nullptr));
  ++count;
  EXPECT_FALSE(watch->GetChanges(&count, paths.out()));
  EXPECT_EQ(paths.vec(), Names{"kept"});
}

TEST(ChangeWatches, ManyThatEndedLeaveTheOthers) {
  CDictionary dictionary;
  const WatchPointer kept = Watch(dictionary, {"/a"});
  for (int i = 0; i < 1000; ++i) Watch(dictionary, {"/a"});
  const std::uint64_t before = kept->GetCount();
  dictionary.SetValue("/a", "x");
  EXPECT_EQ(kept->GetCount(), before + 1);
}

// What a reader of the watched entries can see: paths, types, values, attributes, values behind redirections.
class Snapshot {
 public:
  explicit Snapshot(CDictionary& dictionary) : dictionary_(dictionary) {}

  std::string Take() {
    std::string text;
    for (const auto& [path, description] : TakeEach()) text += description + "\n";
    return text;
  }
  // By path, in pre-order.
  std::vector<std::pair<std::string, std::string>> TakeEach() {
    std::vector<std::pair<std::string, std::string>> all;
    for (const std::string& path : GetPaths(dictionary_, "")) {
      if (IsWatched(path)) all.emplace_back(path, Describe(path));
    }
    return all;
  }

 private:
  // Of the patterns "/W/*/maps" and "/W/tree".
  static bool IsWatched(const std::string& path) {
    if (path == "/W/tree" || path.starts_with("/W/tree/")) return true;
    if (!path.starts_with("/W/")) return false;
    const std::size_t end = path.find('/', 3);
    return end != std::string::npos && (path.substr(end) == "/maps" || path.substr(end).starts_with("/maps/"));
  }
  std::string Describe(const std::string& path) {
    const orv_test::PStringList texts;
    std::string text = path + " " + std::to_string(static_cast<int>(dictionary_.GetValueType(path.c_str())));
    if (dictionary_.GetValueTexts(path.c_str(), texts.out())) {
      for (const std::string& value : texts.vec()) text += " '" + value + "'";
    }
    if (dictionary_.GetAttributeNames(path.c_str(), texts.out())) {
      for (const std::string& name : texts.vec())
        text += " " + name + "=" + GetAttribute(dictionary_, path.c_str(), name.c_str());
    }
    return text + " -> " + GetString(dictionary_, path.c_str());
  }

  CDictionary& dictionary_;
};

// One random operation after another, with redirections into the watched part and out of it.
class RandomChanges {
 public:
  RandomChanges(CDictionary& dictionary, std::uint32_t seed) : dictionary_(dictionary), random_(seed) {}

  std::string Next() {
    const std::string path = Path();
    const std::string other = Path();
    const char* const at = path.c_str();
    const orv_test::PStringList targets(Names{other, Path()});
    switch (Number(16)) {
      case 0:
        dictionary_.Delete(at);
        return "delete " + path;
      case 1:
        dictionary_.Clear(at);
        return "clear " + path;
      case 2:
        dictionary_.Rename(at, Name());
        return "rename " + path;
      case 3:
        dictionary_.CopySubtree(at, other.c_str());
        return "copy " + path + " to " + other;
      case 4:
        dictionary_.MoveSubtree(at, other.c_str());
        return "move " + path + " to " + other;
      case 5:
        dictionary_.MergeSubtree(&dictionary_, at, other.c_str());
        return "merge " + path + " to " + other;
      case 6:
        dictionary_.SetRedirection(at, targets.out());
        return "redirect " + path + " to " + other;
      case 7:
        dictionary_.RemoveRedirection(at);
        return "no redirection " + path;
      case 8:
        dictionary_.SetAttribute(at, "_isRedirection", Number(2) == 0 ? "0" : "1");
        return "mark " + path;
      case 9:
        SetStrings(dictionary_, at, {other});
        return "list " + path;
      case 10:
        return ReloadNowAndThen();
      default:
        dictionary_.SetValue(at, std::to_string(Number(1000)).c_str());
        return "set " + path;
    }
  }

 private:
  std::uint32_t Number(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  const char* Name() {
    static constexpr const char* kNames[] = {"W", "a", "maps", "tree", "x"};
    return kNames[Number(5)];
  }
  std::string Path() {
    std::string path = Number(3) == 0 ? "" : "/W";
    for (std::uint32_t depth = 1 + Number(3); depth > 0; --depth) path.append("/").append(Name());
    return path;
  }
  std::string ReloadNowAndThen() {
    if (Number(10) != 0) return "nothing";
    LoadText(dictionary_, SaveText(dictionary_));
    return "reload";
  }

  CDictionary& dictionary_;
  std::mt19937 random_;
};

TEST(ChangeWatches, RandomChangesAreSeenWhenAReaderCanSeeThem) {
  int unseen = 0;
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    CDictionary dictionary;
    const WatchPointer watch = Watch(dictionary, {"/W/*/maps", "/W/tree"});
    RandomChanges changes(dictionary, seed);
    Snapshot snapshot(dictionary);
    std::string before = snapshot.Take();
    for (int step = 0; step < 100; ++step) {
      const std::uint64_t count = watch->GetCount();
      const std::string what = changes.Next();
      std::string after = snapshot.Take();
      if (watch->GetCount() == count) {
        ++unseen;
        ASSERT_EQ(after, before) << "seed " << seed << ", step " << step << ": " << what;
      }
      before = std::move(after);
    }
  }
  EXPECT_GT(unseen, 1000) << "a watch that sees everything proves nothing";
}

// Or has been made, empty, on the way to one.
TEST(ChangeWatches, WhatHasChangedIsAtTheNamedPathsOrBelow) {
  int known = 0;
  for (std::uint32_t seed = 0; seed < 200; ++seed) {
    CDictionary dictionary;
    const WatchPointer watch = Watch(dictionary, {"/W/*/maps", "/W/tree"});
    RandomChanges changes(dictionary, seed);
    Snapshot snapshot(dictionary);
    const orv_test::PStringList paths;
    std::uint64_t count = watch->GetCount();
    watch->GetChanges(&count, paths.out());
    for (int step = 0; step < 100; ++step) {
      count = watch->GetCount();
      const auto before = snapshot.TakeEach();
      const std::string what = changes.Next();
      if (!watch->GetChanges(&count, paths.out())) continue;
      if (watch->GetCount() != 0) ++known;
      Names named = paths.vec();
      for (std::string& path : named) {
        while (path.ends_with('/')) path.pop_back();
      }
      const auto is_elsewhere = [&](const std::pair<std::string, std::string>& entry) {
        const bool is_empty = entry.second == entry.first + " 11 -> <failed>";
        return std::none_of(named.begin(), named.end(), [&](const std::string& path) {
          const bool is_above = path.starts_with(entry.first + "/");
          return entry.first == path || entry.first.starts_with(path + "/") || (is_above && is_empty);
        });
      };
      const auto elsewhere = [&](const auto& all) {
        std::vector<std::pair<std::string, std::string>> rest;
        std::copy_if(all.begin(), all.end(), std::back_inserter(rest), is_elsewhere);
        return rest;
      };
      ASSERT_EQ(elsewhere(snapshot.TakeEach()), elsewhere(before))
          << "seed " << seed << ", step " << step << ": " << what;
    }
  }
  EXPECT_GT(known, 1000);
}

// Whoever finds the count unchanged after reading has read what belongs to it.
TEST(ChangeWatches, CountAndContentBelongTogetherInOtherThreads) {
  CDictionary dictionary;
  const WatchPointer watch = Watch(dictionary, {"/a"});
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (std::int32_t i = 1; i <= 20000; ++i) {
      dictionary.SetValue("/a/x", i);
      dictionary.SetValue("/b", i);
    }
    done = true;
  });
  std::uint64_t known_count = watch->GetCount();
  std::int32_t known = 0;
  dictionary.GetValue("/a/x", &known);
  while (!done) {
    const std::uint64_t count = watch->GetCount();
    std::int32_t value = 0;
    dictionary.GetValue("/a/x", &value);
    if (watch->GetCount() != count) continue;
    if (count == known_count) {
      EXPECT_EQ(value, known);
    }
    known = value;
    known_count = count;
  }
  writer.join();
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
