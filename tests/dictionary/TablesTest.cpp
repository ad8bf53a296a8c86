// The tables that the tree is made of, against slow and obvious ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dictionary/tree/ChildIndex.h"
#include "dictionary/tree/ElementTree.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/tree/NameTable.h"
#include "dictionary/tree/StableArray.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

TEST(StableArray, NeverMovesWhatItHolds) {
  StableArray<std::uint32_t, 2> array;
  std::vector<std::uint32_t*> places;
  for (std::uint32_t i = 0; i < 3000; ++i) {
    if (i == 50) array.Reserve(1000);
    std::uint32_t& item = array.Add();
    item = i;
    places.push_back(&item);
  }
  ASSERT_EQ(array.size(), 3000u);
  for (std::uint32_t i = 0; i < 3000; ++i) {
    ASSERT_EQ(places[i], &array[i]);
    ASSERT_EQ(array[i], i);
  }
  array.Clear();
  EXPECT_EQ(array.size(), 0u);
  EXPECT_EQ(array.capacity(), 0u);
}

TEST(StableArray, WhatIsReservedIsThere) {
  StableArray<std::uint64_t, 4> array;
  array.Reserve(5000);
  EXPECT_GE(array.capacity(), 5000u);
  const std::size_t capacity = array.capacity();
  for (int i = 0; i < 5000; ++i) array.Add();
  EXPECT_EQ(array.capacity(), capacity);
}

TEST(NameTable, KeepsTextsOfAnyLengthWhereTheyAre) {
  NameTable table;
  std::vector<std::string> texts;
  std::vector<std::string_view> kept;
  for (std::size_t length = 0; length < 300; ++length) texts.emplace_back(length, static_cast<char>('a' + length % 26));
  for (const std::string& text : texts) {
    const NameTable::Id id = table.Intern(text);
    ASSERT_EQ(id, kept.size());
    kept.push_back(table.Text(id));
  }
  for (NameTable::Id id = 0; id < texts.size(); ++id) {
    EXPECT_EQ(kept[id], texts[id]);
    EXPECT_EQ(kept[id].data(), table.Text(id).data());
    EXPECT_EQ(table.Find(texts[id]), id);
    EXPECT_EQ(table.Intern(texts[id]), id);
  }
  EXPECT_EQ(table.Find("bb"), NameTable::kNone);
}

// Few hashes, so that most children meet others on their way, and are moved when those go.
TEST(ChildIndex, HoldsWhatAMapHolds) {
  std::mt19937 random(7);
  ChildIndex index;
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> model;  // (parent, name) to element
  const auto hash_of = [](std::uint32_t name) { return name % 5; };
  for (std::uint32_t step = 0; step < 20000; ++step) {
    const std::uint32_t parent = static_cast<std::uint32_t>(random() % 6);
    const std::uint32_t name = static_cast<std::uint32_t>(random() % 40);
    const auto at = model.find({parent, name});
    const std::uint32_t found =
        index.Find(parent, hash_of(name), [&](const IndexedChild& other) { return other.name == name; });
    ASSERT_EQ(found, at == model.end() ? ChildIndex::kNone : at->second) << step;
    if (at == model.end()) {
      index.Reserve(1);
      index.Add({hash_of(name), parent, step, name});
      model[{parent, name}] = step;
    } else if (random() % 2 == 0) {
      index.Remove(parent, hash_of(name), at->second);
      model.erase(at);
    }
  }
}

// Children come and go at the front, in the middle and at the end, before and after the index of their parent is made.
TEST(ElementTree, ChildrenKeepTheirOrderWhicheverGoes) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    ElementTree tree;
    const ElementId root = tree.CreateRoot(kRootName);
    std::vector<std::string> model;
    for (int step = 0; step < 120; ++step) {
      const std::string name = "n" + std::to_string(random() % 30);
      const auto at = std::find(model.begin(), model.end(), name);
      if (at == model.end()) {
        tree.SetText(tree.EnsureChild(root, name), name);
        model.push_back(name);
      } else if (step % 3 != 0) {
        tree.Remove(tree.FindChild(root, name));
        model.erase(at);
      }
      std::vector<std::string> names;
      for (ElementId id = tree.first_child(root); id != kNoElement; id = tree.next_sibling(id)) {
        ASSERT_EQ(tree.text(id), tree.name(id));
        ASSERT_EQ(tree.FindChild(root, tree.name(id)), id);
        names.emplace_back(tree.name(id));
      }
      ASSERT_EQ(names, model);
      ASSERT_EQ(tree.child_count(root), model.size());
      ASSERT_EQ(tree.FindChild(root, "missing"), kNoElement);
    }
  }
}

TEST(ElementTree, TextsStayWhereTheyAreWhileTheTreeGrows) {
  ElementTree tree;
  const ElementId root = tree.CreateRoot(kRootName);
  tree.SetText(root, "short");
  const std::string_view text = tree.text(root);
  const std::string_view name = tree.name(root);
  for (int i = 0; i < 5000; ++i) tree.SetText(tree.AppendChild(root, std::to_string(i)), "a text that is not short");
  EXPECT_EQ(text, "short");
  EXPECT_EQ(text.data(), tree.text(root).data());
  EXPECT_EQ(name.data(), tree.name(root).data());
}

// Of a few names, now and then with a "/" too many.
std::string RandomPath(std::mt19937& random) {
  const std::vector<std::string> names = {"a", "ab", "abcdefgh", "abcdefghi", "b"};
  std::string path;
  for (std::size_t depth = random() % 5 + 1; depth > 0; --depth) {
    path += random() % 9 == 0 ? "//" : "/";
    path += names[random() % names.size()];
  }
  return random() % 9 == 0 ? path + "/" : path;
}

TEST(LastParent, WhereTheLastPathLedChangesNoAnswer) {
  std::mt19937 random(7);
  ElementTree tree;
  tree.CreateRoot(kRootName);
  for (int i = 0; i < 20'000; ++i) {
    const std::string path = RandomPath(random);
    const bool finds_place = random() % 2 == 0;
    const EntryPlace place = finds_place ? FindPlace(tree, path) : EntryPlace{FindEntry(tree, path), kNoElement, {}};
    tree.last_parent().Forget();
    const ElementId expected = FindEntry(tree, path);
    ASSERT_EQ(place.element, expected) << path;
    if (expected == kNoElement && random() % 3 == 0) {
      FindEntry(tree, RandomPath(random));
      const ElementId made = MakeEntry(tree, path, FindPlace(tree, path));
      tree.last_parent().Forget();
      ASSERT_EQ(FindEntry(tree, path), made) << path;
    }
    FindEntry(tree, RandomPath(random));
    if (expected != kNoElement && random() % 20 == 0) tree.Remove(expected);
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary
