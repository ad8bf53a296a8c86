// A dictionary store in its most obvious form, to compare the real one with: strings and vectors, one character at a
// time, a path split anew for each step, escaping by plain replacement. It recurses, so it is for small trees only.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

class SlowModel {
 public:
  using Strings = std::vector<std::string>;

  // Typed values follow redirections; nothing else does.
  bool SetText(const std::string& path, const std::string& tag, const std::string& text);
  bool SetList(const std::string& path, const std::string& tag, const Strings& items);
  // The text of an entry of that type.
  bool GetText(const std::string& path, ValueType type, std::string& text) const;
  bool GetList(const std::string& path, ValueType type, Strings& items) const;
  ValueType GetType(const std::string& path) const;
  // The texts of the value of whatever type.
  bool GetTexts(const std::string& path, Strings& texts) const;
  bool SetRedirection(const std::string& path, const Strings& targets);
  bool IsRedirection(const std::string& path) const;
  bool RemoveRedirection(const std::string& path);
  bool SetAttribute(const std::string& path, const std::string& name, const std::string& value);
  bool GetAttribute(const std::string& path, const std::string& name, std::string& value) const;
  bool RemoveAttribute(const std::string& path, const std::string& name);
  bool GetAttributeNames(const std::string& path, Strings& names) const;
  bool Exists(const std::string& path) const;
  bool Delete(const std::string& path);
  bool GetEntries(const std::string& path, Strings& names) const;
  bool EnumeratePaths(const std::string& path, Strings& paths) const;
  bool CopySubtree(const std::string& from, const std::string& to);
  bool MoveSubtree(const std::string& from, const std::string& to);
  bool MergeSubtree(const std::string& from, const std::string& to);
  bool CompareSubtrees(const std::string& path, const std::string& other_path, Strings& differences) const;
  bool Rename(const std::string& path, const std::string& name);
  bool Clear(const std::string& path);
  bool Load(const std::string& text);
  std::string Save();
  std::string Dump() const;
  // How many elements there are.
  std::size_t Size() const;

  // A blank of a file.
  static bool IsSpace(char c);

  // Of an element's raw attribute text.
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  static Pairs ParseAttributes(const std::string& text);
  static std::string JoinAttributes(const Pairs& pairs);
  static std::string ChangeAttribute(const std::string& text, const std::string& name, const std::string& value);
  static std::string DropAttribute(const std::string& text, const std::string& name);

 private:
  struct Element {
    std::string name;
    std::string text;
    std::string attributes;
    std::vector<std::unique_ptr<Element>> children;
  };
  class Reader;

  static Strings Split(const std::string& path);
  static bool IsValid(const Strings& components);
  static ValueType TypeOf(const Element& element);
  static bool IsList(ValueType type) { return type >= ValueType::StringList && type <= ValueType::BooleanList; }
  static std::string TagOf(ValueType type);
  static Element* Child(const Element& parent, const std::string& name);
  static Element Clone(const Element& element);
  static bool IsMarked(const Element& element);
  static Strings Items(const Element& element);
  static void Merge(const Element& source, Element& target);
  static void Compare(const Element& first, const Element& second, const std::string& path, Strings& differences);
  static void WriteElement(const Element& element, std::size_t depth, std::string& output);
  static std::size_t CountElements(const Element& element);
  static void DumpElement(const Element& element, std::string& output);

  // The entry that a reader of the type gets, at the end of redirections.
  const Element* Readable(const std::string& path, ValueType type) const;
  const Element* FollowToRead(const Element& element, ValueType type, int& hops) const;
  // Leads the path to where a write goes; false for nowhere.
  bool FollowToWrite(std::string& path) const;
  bool StoreText(const std::string& path, const std::string& tag, const std::string& text);
  bool StoreList(const std::string& path, const std::string& tag, const Strings& items);

  Element CloneAt(const Strings& components) const;
  bool Replace(const Strings& components, Element content);
  Element* Find(const Strings& components) const;
  Element* Ensure(const Strings& components);
  bool SetContent(const Strings& components, const std::string& text, const std::string& attributes);

  std::unique_ptr<Element> root_;
};

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
