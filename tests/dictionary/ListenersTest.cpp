// Who is told of a change, and of which.
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// Notes the paths of which it is told, and then does what the test asks for.
class Recorder final : public IDictionaryListener {
 public:
  Recorder() = default;
  explicit Recorder(std::function<void(IDictionary*)> then) : then_(std::move(then)) {}

  void OnChange(IDictionary* dictionary, const char* path) override {
    paths.emplace_back(path);
    last_dictionary = dictionary;
    if (then_) then_(dictionary);
  }

  Names paths;
  IDictionary* last_dictionary = nullptr;

 private:
  std::function<void(IDictionary*)> then_;
};

TEST(Listeners, AreToldOfEveryTypedWriteOnce) {
  CDictionary object;
  IDictionary& dictionary = object;
  Recorder recorder;
  ASSERT_TRUE(dictionary.AddListener(&recorder, nullptr));
  const orv_test::PStringList strings(Names{"x", "y", "z"});
  const orv_test::WStringList wides({u"x", u"y"});
  const orv_test::IntList integers({1, 2, 3});
  const orv_test::DoubleList doubles({1.5});
  const orv_test::BoolList booleans({true, false});
  const std::function<bool(const char*)> setters[] = {
      [&](const char* path) { return dictionary.SetValue(path, wides.out()); },
      [&](const char* path) { return dictionary.SetValue(path, u"x"); },
      [&](const char* path) { return dictionary.SetValue(path, true); },
      [&](const char* path) { return dictionary.SetValue(path, booleans.out()); },
      [&](const char* path) { return dictionary.SetValue(path, doubles.out()); },
      [&](const char* path) { return dictionary.SetValue(path, integers.out()); },
      [&](const char* path) { return dictionary.SetValue(path, strings.out()); },
      [&](const char* path) { return dictionary.SetValue(path, "x"); },
      [&](const char* path) { return dictionary.SetValue(path, 0.5); },
      [&](const char* path) { return dictionary.SetValue(path, 5); },
      [&](const char* path) { return dictionary.SetBinary(path, "\0\1", 2); },
  };
  Names expected;
  for (const auto& set : setters) {
    expected.push_back("/n" + std::to_string(expected.size()));
    EXPECT_TRUE(set(expected.back().c_str()));
    EXPECT_EQ(recorder.paths, expected);
    EXPECT_EQ(recorder.last_dictionary, &dictionary);
    EXPECT_FALSE(set("/a b"));
    EXPECT_FALSE(set(nullptr));
    EXPECT_EQ(recorder.paths, expected);
  }
}

TEST(Listeners, AreToldOfWritesThroughPathObjectsToo) {
  CDictionary object;
  IDictionary& dictionary = object;
  Recorder recorder;
  ASSERT_TRUE(dictionary.AddListener(&recorder, "^/a/"));
  const orv_test::PStringList strings(Names{"x"});
  using Path = DictionaryPathWrapperSimple;
  EXPECT_TRUE(dictionary.SetValue(Path("a//b"), 5));
  EXPECT_TRUE(dictionary.SetValue(Path("a") / "c", strings.out()));
  EXPECT_TRUE(dictionary.SetBinary(Path("a", "d"), "x", 1));
  EXPECT_TRUE(dictionary.SetValue(Path("b"), 5));
  EXPECT_FALSE(dictionary.SetValue(Path("a") / "b c", 5));
  EXPECT_EQ(recorder.paths, (Names{"/a/b", "/a/c", "/a/d"}));
}

TEST(Listeners, AreNotToldOfOtherOperations) {
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a/b", "x"));
  ASSERT_TRUE(dictionary.SetValue("/IDictionaryNameValPairs/x", "x"));
  Recorder recorder;
  ASSERT_TRUE(dictionary.AddListener(&recorder, ""));
  const orv_test::PStringList targets(Names{"/a"});
  EXPECT_FALSE(dictionary.SaveFile(nullptr));
  EXPECT_FALSE(dictionary.Exists("/IDictionaryNameValPairs/x")) << "a save takes them away";
  EXPECT_TRUE(dictionary.SetAttribute("/a", "k", "v"));
  EXPECT_TRUE(dictionary.RemoveAttribute("/a", "k"));
  EXPECT_TRUE(dictionary.CopySubtree("/a", "/c"));
  EXPECT_TRUE(dictionary.MoveSubtree("/c", "/d"));
  EXPECT_TRUE(dictionary.MergeSubtree(&dictionary, "/a", "/d"));
  EXPECT_TRUE(dictionary.Rename("/d", "e"));
  EXPECT_TRUE(dictionary.Clear("/e"));
  EXPECT_TRUE(dictionary.SetRedirection("/r", targets.out()));
  EXPECT_TRUE(dictionary.RemoveRedirection("/r"));
  EXPECT_TRUE(dictionary.Delete("/a"));
  EXPECT_TRUE(LoadText(dictionary, SaveText(dictionary)));
  EXPECT_EQ(recorder.paths, Names());
}

TEST(Listeners, ThePatternIsSearchedInThePathAsTheWriterGaveIt) {
  struct Case {
    const char* pattern;
    const char* path;
    bool is_told;
  };
  const Case cases[] = {
      {nullptr, "/a/b", true},    {"", "", true},
      {".*", "a", true},          {"^/a/b$", "/a/b", true},
      {"b|c", "/c", true},        {"^/a/b$", "/a/b/c", false},
      {"^/a/b$", "a/b", false},   {"(", "/a", false},
      {"^/a/b$", "/a//b", false}, {"^/a/b$", "/a/b/", false},
      {"[", "/a", false},         {"engine", "/Engine", false},
      {"a**", "/a", false},       {"Engine", "/x/WorkFlowEngine/y", true},
  };
  for (const Case& c : cases) {
    CDictionary dictionary;
    Recorder recorder;
    EXPECT_TRUE(dictionary.AddListener(&recorder, c.pattern));
    EXPECT_TRUE(dictionary.SetValue(c.path, 1)) << c.path;
    EXPECT_EQ(recorder.paths, c.is_told ? Names{c.path} : Names()) << c.path;
  }
}

TEST(Listeners, AWriteThatFailsInsideIsNotTold) {
  CDictionary dictionary;
  ASSERT_TRUE(LoadText(dictionary, "<other/>"));
  Recorder recorder;
  ASSERT_TRUE(dictionary.AddListener(&recorder, nullptr));
  EXPECT_FALSE(SetStrings(dictionary, "/a", {"x"}));
  EXPECT_FALSE(dictionary.SetValue("/a", "x"));
  EXPECT_EQ(recorder.paths, Names());
}

TEST(Listeners, ARedirectedWriteIsToldUnderTheWritersPath) {
  CDictionary dictionary;
  const orv_test::PStringList targets(Names{"/target"});
  ASSERT_TRUE(dictionary.SetRedirection("/r", targets.out()));
  Recorder recorder;
  ASSERT_TRUE(dictionary.AddListener(&recorder, nullptr));
  EXPECT_TRUE(dictionary.SetValue("/r", "x"));
  EXPECT_EQ(recorder.paths, Names{"/r"});
  EXPECT_EQ(GetString(dictionary, "/target"), "x");
}

TEST(Listeners, OneAddedTwiceIsToldTwiceAndRemovedAtOnce) {
  CDictionary dictionary;
  Recorder twice;
  Recorder once;
  ASSERT_TRUE(dictionary.AddListener(&twice, nullptr));
  ASSERT_TRUE(dictionary.AddListener(&once, nullptr));
  ASSERT_TRUE(dictionary.AddListener(&twice, "a"));
  ASSERT_TRUE(dictionary.SetValue("/a", 1));
  EXPECT_EQ(twice.paths.size(), 2u);
  EXPECT_TRUE(dictionary.RemoveListener(&twice));
  ASSERT_TRUE(dictionary.SetValue("/a", 2));
  EXPECT_EQ(twice.paths.size(), 2u);
  EXPECT_EQ(once.paths.size(), 2u);
}

TEST(Listeners, RemovingOneThatIsNotThereIsTrueAndAddingNullIsFalse) {
  CDictionary dictionary;
  Recorder recorder;
  EXPECT_TRUE(dictionary.RemoveListener(&recorder));
  EXPECT_TRUE(dictionary.RemoveListener(nullptr));
  EXPECT_FALSE(dictionary.AddListener(nullptr, ".*"));
}

TEST(Listeners, AreCalledInTheOrderInWhichTheyWereAdded) {
  CDictionary dictionary;
  std::string order;
  Recorder first([&](IDictionary*) { order += '1'; });
  Recorder second([&](IDictionary*) { order += '2'; });
  for (Recorder* listener : {&second, &first, &second}) dictionary.AddListener(listener, nullptr);
  ASSERT_TRUE(dictionary.SetValue("/a", 1));
  EXPECT_EQ(order, "212");
}

TEST(Listeners, MayReadAndWriteButWhatTheyWriteIsNotTold) {
  CDictionary object;
  std::int32_t value = 0;
  Recorder recorder([&](IDictionary* dictionary) {
    EXPECT_TRUE(dictionary->GetValue("/a", &value));
    EXPECT_TRUE(dictionary->SetValue("/copy", value));
  });
  object.AddListener(&recorder, nullptr);
  ASSERT_TRUE(object.SetValue("/a", 7));
  ASSERT_TRUE(object.SetValue("/a", 8));
  EXPECT_EQ(recorder.paths, (Names{"/a", "/a"}));
  EXPECT_TRUE(object.GetValue("/copy", &value));
  EXPECT_EQ(value, 8);
}

TEST(Listeners, WhatOneThrowsHurtsNobody) {
  CDictionary dictionary;
  Recorder thrower([](IDictionary*) { throw std::runtime_error("of a listener"); });
  Recorder after;
  dictionary.AddListener(&thrower, nullptr);
  dictionary.AddListener(&after, nullptr);
  EXPECT_TRUE(dictionary.SetValue("/a", 1));
  EXPECT_TRUE(dictionary.SetValue("/b", 1));
  EXPECT_EQ(thrower.paths, (Names{"/a", "/b"}));
  EXPECT_EQ(after.paths, (Names{"/a", "/b"}));
}

TEST(Listeners, OneAddedDuringACallIsToldOfTheNextChange) {
  CDictionary object;
  Recorder late;
  Recorder adder([&](IDictionary* dictionary) { dictionary->AddListener(&late, nullptr); });
  object.AddListener(&adder, nullptr);
  ASSERT_TRUE(object.SetValue("/a", 1));
  EXPECT_EQ(late.paths, Names());
  object.RemoveListener(&adder);
  ASSERT_TRUE(object.SetValue("/b", 1));
  EXPECT_EQ(late.paths, Names{"/b"});
}

// Removing itself, one that has been called, and ones that have still to be called; what is left is called once each.
TEST(Listeners, OneRemovedDuringACallIsNotCalledAnyMore) {
  CDictionary object;
  Recorder before;
  Recorder after;
  Recorder last;
  Recorder remover([&](IDictionary* dictionary) {
    for (IDictionaryListener* listener : {&before, &remover, &after}) dictionary->RemoveListener(listener);
  });
  for (Recorder* listener : {&before, &remover, &after, &last, &after, &last}) object.AddListener(listener, nullptr);
  ASSERT_TRUE(object.SetValue("/a", 1));
  ASSERT_TRUE(object.SetValue("/b", 1));
  EXPECT_EQ(before.paths, Names{"/a"});
  EXPECT_EQ(remover.paths, Names{"/a"});
  EXPECT_EQ(after.paths, Names());
  EXPECT_EQ(last.paths, (Names{"/a", "/a", "/b", "/b"}));
}

TEST(Listeners, OneRemovedAndAddedAgainDuringACallWaitsForTheNextChange) {
  CDictionary object;
  Recorder again;
  Recorder mover([&](IDictionary* dictionary) {
    dictionary->RemoveListener(&again);
    dictionary->AddListener(&again, nullptr);
  });
  object.AddListener(&mover, nullptr);
  object.AddListener(&again, nullptr);
  ASSERT_TRUE(object.SetValue("/a", 1));
  EXPECT_EQ(again.paths, Names());
  object.RemoveListener(&mover);
  ASSERT_TRUE(object.SetValue("/b", 1));
  EXPECT_EQ(again.paths, Names{"/b"});
}

TEST(Listeners, MayEndTheDictionary) {
  CDictionaryObjectCreator creator;
  for (const bool with_list : {false, true}) {
    IBaseWorkFlowObject* const object = creator.Create();
    ASSERT_NE(object, nullptr);
    auto* const dictionary = static_cast<IDictionary*>(object->QueryInterface("IDictionary"));
    Recorder ender([](IDictionary* ended) { ended->Release(); });
    Recorder after;
    dictionary->AddListener(&ender, nullptr);
    dictionary->AddListener(&after, nullptr);
    EXPECT_TRUE(with_list ? SetStrings(*dictionary, "/a", {"x"}) : dictionary->SetValue("/a", 1));
    EXPECT_EQ(ender.paths, Names{"/a"});
    EXPECT_EQ(after.paths, Names());
  }
}

TEST(Listeners, OfTwoDictionariesAreToldApart) {
  CDictionary first;
  CDictionary second;
  Recorder both([&](IDictionary* dictionary) {
    // A write to the other one is told: each has notifications of its own.
    if (dictionary == &first) second.SetValue("/of/the/first", 1);
  });
  first.AddListener(&both, nullptr);
  second.AddListener(&both, nullptr);
  ASSERT_TRUE(first.SetValue("/a", 1));
  EXPECT_EQ(both.paths, (Names{"/a", "/of/the/first"}));
  first.RemoveListener(&both);
  ASSERT_TRUE(first.SetValue("/b", 1));
  ASSERT_TRUE(second.SetValue("/c", 1));
  EXPECT_EQ(both.paths, (Names{"/a", "/of/the/first", "/c"}));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
