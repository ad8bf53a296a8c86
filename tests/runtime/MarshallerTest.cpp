#include "OrvWorkFlow/Marshaller.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/MarshalledTexts.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

TEST(DirectGetObject, GivesAFreshObjectForEachOfTheEightNames) {
  EXPECT_EQ(PString().str(), "");
  EXPECT_EQ(WString().str(), u"");
  EXPECT_TRUE(PStringList().vec().empty());
  EXPECT_TRUE(WStringList().vec().empty());
  EXPECT_TRUE(IntList().vec().empty());
  EXPECT_TRUE(DoubleList().vec().empty());
  EXPECT_TRUE(BoolList().vec().empty());
  EXPECT_EQ(Stream().bytes(), "");
  const PString first;
  const PString second;
  EXPECT_NE(first.out(), second.out());
}

TEST(DirectGetObject, KnowsNoOtherName) {
  for (const char* name : {"", "iorvpstring", "IOrvPStrin", "IOrvPString ", "IOrvPStringLists", "PString"}) {
    EXPECT_EQ(DirectGetObject(name), nullptr) << name;
  }
  EXPECT_EQ(DirectGetObject(nullptr), nullptr);
}

template <class Char, class Text>
void CheckTextsOfAllLengths() {
  Text marshalled;
  std::basic_string<Char> expected;
  for (std::size_t length = 0; length < 600; ++length) {
    ASSERT_TRUE(marshalled->Assign(expected.data(), expected.size()));
    ASSERT_EQ(marshalled->GetLength(), length);
    ASSERT_EQ(marshalled.str(), expected);
    ASSERT_EQ(marshalled->GetText()[length], Char());
    // Zeros are characters like others.
    expected.push_back(static_cast<Char>(length % 7 == 0 ? 0 : 'a' + length % 26));
  }
}

TEST(MarshalledString, HoldsTextsOfAllLengthsWithATerminator) {
  CheckTextsOfAllLengths<char, PString>();
  CheckTextsOfAllLengths<char16_t, WString>();
}

TEST(MarshalledString, RandomAssignmentsGiveTheLastText) {
  std::mt19937 random(7);
  const PString marshalled;
  for (int i = 0; i < 2000; ++i) {
    const std::string text(random() % 300, static_cast<char>('a' + random() % 26));
    ASSERT_TRUE(marshalled->Assign(text.data(), text.size()));
    ASSERT_EQ(std::string(marshalled->GetText()), text);
  }
}

TEST(MarshalledString, MayBeAssignedAPartOfItself) {
  for (const std::size_t length : {10U, 95U, 96U, 400U}) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
      text.push_back(static_cast<char>('a' + i % 26));
    }
    const PString marshalled(text);
    ASSERT_TRUE(marshalled->Assign(marshalled->GetText() + 3, length - 3));
    EXPECT_EQ(marshalled.str(), text.substr(3));
  }
}

TEST(MarshalledString, TakesNullForTheEmptyTextOnly) {
  const PString text("before");
  EXPECT_FALSE(text->Assign(nullptr, 1));
  EXPECT_EQ(text.str(), "before");
  EXPECT_TRUE(text->Assign(nullptr, 0));
  EXPECT_EQ(text.str(), "");
}

TEST(MarshalledString, RefusesALengthThatNoMemoryHolds) {
  const WString text(u"before");
  EXPECT_FALSE(text->Assign(u"x", std::numeric_limits<std::size_t>::max()));
  EXPECT_FALSE(text->Assign(u"x", std::numeric_limits<std::size_t>::max() / 2));
  EXPECT_EQ(text.str(), u"before");
}

TEST(MarshalledStringList, KeepsItemsInOrderWithZerosInside) {
  const std::vector<std::string> items = {"", "one", std::string("z\0ero", 5), std::string(500, 'x')};
  PStringList list(items);
  EXPECT_EQ(list.vec(), items);
  EXPECT_EQ(list->GetText(4), nullptr);
  EXPECT_EQ(list->GetLength(4), 0U);
  EXPECT_EQ(list->GetLength(2), 5U);
  list->Clear();
  EXPECT_EQ(list->GetCount(), 0U);
  EXPECT_EQ(list->GetText(0), nullptr);
  EXPECT_FALSE(list->Add(nullptr, 3));
  EXPECT_TRUE(list->Add(nullptr, 0));
  EXPECT_EQ(list.vec(), std::vector<std::string>{""});
}

TEST(MarshalledStringList, MayBeGivenAnItemOfItself) {
  const WStringList list({u"a text that is longer than any small buffer of a string"});
  for (std::size_t i = 0; i < 100; ++i) {
    ASSERT_TRUE(list->Add(list->GetText(i), list->GetLength(i)));
  }
  EXPECT_EQ(list->GetCount(), 101U);
  EXPECT_EQ(std::u16string(list->GetText(100)), list->GetText(0));
}

template <class List, class Item>
void CheckValues(const std::vector<Item>& items) {
  const List list(items);
  EXPECT_EQ(list.vec(), items);
  Item untouched = items.front();
  EXPECT_FALSE(list->Get(items.size(), &untouched));
  EXPECT_EQ(untouched, items.front());
  EXPECT_FALSE(list->Get(0, nullptr));
  list->Clear();
  EXPECT_EQ(list->GetCount(), 0U);
}

TEST(MarshalledList, KeepsValuesInOrder) {
  CheckValues<IntList, std::int32_t>({0, -1, std::numeric_limits<std::int32_t>::min(), 2147483647});
  CheckValues<DoubleList, double>({0.1, -0.0, 1e308, std::numeric_limits<double>::infinity()});
  CheckValues<BoolList, bool>({true, false, false, true});
}

TEST(MarshalledStream, AssignsAndAppendsBytes) {
  const Stream stream(std::string_view("a\0b", 3));
  EXPECT_TRUE(stream->Append("cd", 2));
  EXPECT_TRUE(stream->Append(nullptr, 0));
  EXPECT_EQ(stream.bytes(), std::string("a\0bcd", 5));
  EXPECT_FALSE(stream->Append(nullptr, 1));
  EXPECT_FALSE(stream->Assign(nullptr, 1));
  EXPECT_EQ(stream->GetSize(), 5U);
  EXPECT_TRUE(stream->Assign(nullptr, 0));
  EXPECT_EQ(stream->GetSize(), 0U);
}

TEST(MarshalledStream, MayBeGivenItsOwnContent) {
  const Stream stream("ab");
  std::string expected = "ab";
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(stream->Append(stream->GetData(), stream->GetSize()));
    expected += expected;
    ASSERT_EQ(stream.bytes(), expected);
  }
  ASSERT_TRUE(stream->Assign(static_cast<const char*>(stream->GetData()) + 1, 3));
  EXPECT_EQ(stream.bytes(), "bab");
}

void* GiveNothing(const char* /*interface_name*/) { return nullptr; }
void* Throw(const char* /*interface_name*/) { throw std::runtime_error("no memory"); }

TEST(MarshallerSource, TakesThePlaceOfTheRuntimes) {
  ASSERT_EQ(SetMarshallerSource(&GiveNothing), nullptr);
  EXPECT_EQ(DirectGetObject("IOrvPString"), nullptr);
  EXPECT_EQ(SetMarshallerSource(&Throw), &GiveNothing);
  EXPECT_EQ(DirectGetObject("IOrvPString"), nullptr);
  EXPECT_EQ(SetMarshallerSource(nullptr), &Throw);
  EXPECT_EQ(PString("again").str(), "again");
}

}  // namespace
