// Values by their text forms: set, and set only if they are still what they were.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "DictionaryTesting.h"
#include "OrvWorkFlow/IDictionaryListener.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

bool Set(IDictionary& dictionary, const char* path, ValueType type, const Names& texts) {
  const orv_test::PStringList list(texts);
  return dictionary.SetValueTexts(path, type, list.out());
}

Names Texts(IDictionary& dictionary, const char* path) {
  const orv_test::PStringList list;
  return dictionary.GetValueTexts(path, list.out()) ? list.vec() : Names{kFailed};
}

struct Value {
  ValueType type;
  Names texts;
};
const Value kEveryType[] = {
    {ValueType::String, {" a<b\n"}},
    {ValueType::WideString, {"\xC3\xA4\xF0\x9F\x98\x80"}},
    {ValueType::Integer, {"-2147483648"}},
    {ValueType::Double, {"0.1234567"}},
    {ValueType::Boolean, {"7"}},
    {ValueType::StringList, {"a", "", "b"}},
    {ValueType::WideStringList, {"\xC3\xA4"}},
    {ValueType::IntegerList, {"1", " 2"}},
    {ValueType::DoubleList, {"-1e20", "+.5"}},
    {ValueType::BooleanList, {"0", "-1"}},
    {ValueType::Binary, {"AP8="}},
};
static_assert(std::size(kEveryType) == static_cast<std::size_t>(ValueType::Nil), "every type with a value");

TEST(ValueTexts, OfEveryTypeAreStoredAsTheyStand) {
  for (const Value& value : kEveryType) {
    CDictionary dictionary;
    ASSERT_TRUE(dictionary.SetAttribute("/a", "k", "v"));
    ASSERT_TRUE(Set(dictionary, "/a", value.type, value.texts)) << static_cast<int>(value.type);
    EXPECT_EQ(dictionary.GetValueType("/a"), value.type);
    EXPECT_EQ(Texts(dictionary, "/a"), value.texts);
    EXPECT_EQ(GetAttribute(dictionary, "/a", "k"), "v");
    EXPECT_EQ(GetEntries(dictionary, "/a"), Names());
  }
}

TEST(ValueTexts, ThatAreNoneOfTheTypeChangeNothing) {
  const Value cases[] = {
      {ValueType::WideString, {"\xE4"}},
      {ValueType::Integer, {""}},
      {ValueType::Integer, {"2147483648"}},
      {ValueType::Integer, {"-2147483649"}},
      {ValueType::Integer, {"1x"}},
      {ValueType::Integer, {"1", "2"}},
      {ValueType::Integer, {}},
      {ValueType::Double, {"1,5"}},
      {ValueType::Double, {"nan"}},
      {ValueType::Double, {"1e999"}},
      {ValueType::Boolean, {"true"}},
      {ValueType::IntegerList, {"1", "x"}},
      {ValueType::BooleanList, {""}},
      {ValueType::Binary, {"A-"}},
      {ValueType::Nil, {}},
      {ValueType::Nil, {"x"}},
      {static_cast<ValueType>(99), {"x"}},
  };
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/a", "old"));
  const std::uint64_t changes = dictionary.GetChangeCount();
  for (const Value& value : cases) {
    for (const char* path : {"/a", "/new"}) EXPECT_FALSE(Set(dictionary, path, value.type, value.texts));
  }
  EXPECT_FALSE(Set(dictionary, "/a b", ValueType::String, {"x"}));
  EXPECT_FALSE(Set(dictionary, nullptr, ValueType::String, {"x"}));
  EXPECT_FALSE(dictionary.SetValueTexts("/a", ValueType::String, nullptr));
  EXPECT_EQ(GetString(dictionary, "/a"), "old");
  EXPECT_FALSE(dictionary.Exists("/new"));
  EXPECT_EQ(dictionary.GetChangeCount(), changes);
}

bool CompareAndSet(IDictionary& dictionary, const char* path, const Value& before, const Value& after, bool* matches) {
  const orv_test::PStringList expected(before.texts);
  const orv_test::PStringList texts(after.texts);
  return dictionary.CompareAndSetTexts(path, before.type, expected.out(), after.type, texts.out(), matches);
}

TEST(ValueTexts, AreSetOnlyIfTheValueIsTheExpectedOne) {
  CDictionary dictionary;
  const Value one{ValueType::Integer, {"1"}};
  const Value nothing{ValueType::Nil, {}};
  bool matches = true;
  EXPECT_FALSE(CompareAndSet(dictionary, "/a", one, {ValueType::Integer, {"2"}}, &matches));
  EXPECT_FALSE(matches);
  EXPECT_FALSE(dictionary.Exists("/a"));
  for (const Value& value : kEveryType) {
    EXPECT_TRUE(CompareAndSet(dictionary, "/a", nothing, value, &matches));
    EXPECT_TRUE(matches);
    EXPECT_FALSE(CompareAndSet(dictionary, "/a", nothing, one, &matches));
    EXPECT_FALSE(matches);
    EXPECT_TRUE(CompareAndSet(dictionary, "/a", value, one, &matches));
    EXPECT_EQ(Texts(dictionary, "/a"), one.texts);
    // The text alone is not enough.
    EXPECT_FALSE(CompareAndSet(dictionary, "/a", {ValueType::String, {"1"}}, value, &matches));
    EXPECT_FALSE(matches);
    ASSERT_TRUE(dictionary.RemoveAttribute("/a", "__type"));
  }
  EXPECT_FALSE(CompareAndSet(dictionary, "/b", nothing, {ValueType::Integer, {"x"}}, &matches));
  EXPECT_FALSE(matches);
  EXPECT_TRUE(CompareAndSet(dictionary, "/b", nothing, one, nullptr));
}

// Each thread reads, adds one and writes what is still current: no addition may be lost.
TEST(ValueTexts, ThatAreComparedLoseNoChange) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  CDictionary dictionary;
  ASSERT_TRUE(dictionary.SetValue("/count", 0));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int done = 0; done < kRounds;) {
        const Value before{ValueType::Integer, Texts(dictionary, "/count")};
        const Value after{ValueType::Integer, {std::to_string(std::stoi(before.texts.front()) + 1)}};
        done += CompareAndSet(dictionary, "/count", before, after, nullptr) ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(Texts(dictionary, "/count"), Names{std::to_string(kThreads * kRounds)});
}

class Counter final : public IDictionaryListener {
 public:
  void OnChange(IDictionary* /*dictionary*/, const char* /*path*/) override { ++count; }
  int count = 0;
};

TEST(ValueTexts, AreToldToListenersOnce) {
  CDictionary dictionary;
  Counter counter;
  dictionary.AddListener(&counter, nullptr);
  EXPECT_TRUE(Set(dictionary, "/a", ValueType::StringList, {"a", "b"}));
  EXPECT_EQ(counter.count, 1);
  EXPECT_FALSE(Set(dictionary, "/a", ValueType::Integer, {"x"}));
  EXPECT_EQ(counter.count, 1);
  dictionary.RemoveListener(&counter);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
