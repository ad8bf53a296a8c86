// The stream that a dictionary's file is read into.
#include "dictionary/file/LoadedBytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace OrvWorkFlow::Core::Dictionary {
namespace {

TEST(LoadedBytes, TakesCopies) {
  LoadedBytes bytes;
  EXPECT_EQ(bytes.GetSize(), 0u);
  EXPECT_TRUE(bytes.Assign("abc", 3));
  EXPECT_TRUE(bytes.Append("de", 2));
  EXPECT_TRUE(bytes.Append(nullptr, 0));
  EXPECT_EQ(bytes.view(), "abcde");
  EXPECT_EQ(bytes.GetData(), bytes.view().data());
  EXPECT_TRUE(bytes.Assign("x", 1));
  EXPECT_EQ(bytes.view(), "x");
  EXPECT_TRUE(bytes.Assign(nullptr, 0));
  EXPECT_EQ(bytes.GetSize(), 0u);
}

TEST(LoadedBytes, WhatIsWrittenIntoTheRoomCountsWhenItIsCommitted) {
  LoadedBytes bytes;
  EXPECT_FALSE(bytes.Commit(0));
  EXPECT_TRUE(bytes.Append("head", 4));
  void* const room = bytes.Room(5000);
  ASSERT_NE(room, nullptr);
  std::memset(room, '+', 5000);
  EXPECT_EQ(bytes.view(), "head");
  EXPECT_FALSE(bytes.Commit(5001));
  EXPECT_TRUE(bytes.Commit(3));
  EXPECT_EQ(bytes.view(), "head+++");
  EXPECT_FALSE(bytes.Commit(1));
}

TEST(LoadedBytes, HasNoRoomBeyondTheLimit) {
  LoadedBytes bytes;
  EXPECT_TRUE(bytes.Append("head", 4));
  EXPECT_EQ(bytes.Room(kMaxTextSize), nullptr);
  EXPECT_EQ(bytes.view(), "head");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary
