#include "DictionaryTesting.h"

#include "dictionary/xml/XmlReader.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

// What the getter fills in; kFailed when it fails.
template <class Get>
Names GetNames(Get get) {
  const orv_test::PStringList list;
  return get(list.out()) ? list.vec() : Names{kFailed};
}

template <class Get>
std::string GetText(Get get) {
  const orv_test::PString text;
  return get(text.out()) ? text.str() : kFailed;
}

void DumpElement(const ElementTree& tree, ElementId id, std::string& dump) {
  dump.append(tree.name(id));
  if (!tree.attributes(id).empty()) dump.append("[").append(tree.attributes(id)).append("]");
  if (!tree.text(id).empty()) dump.append("'").append(tree.text(id)).append("'");
  if (tree.first_child(id) == kNoElement) return;
  dump += '(';
  for (ElementId child = tree.first_child(id); child != kNoElement; child = tree.next_sibling(child)) {
    if (child != tree.first_child(id)) dump += ' ';
    DumpElement(tree, child, dump);
  }
  dump += ')';
}

}  // namespace

bool LoadText(IDictionary& dictionary, std::string_view text) {
  return dictionary.LoadFromText(text.data(), text.size());
}

std::string SaveText(IDictionary& dictionary) {
  return GetText([&](IOrvPString* text) { return dictionary.SaveToText(text); });
}

std::string Saved(IDictionary& dictionary, const std::string& name) {
  const std::string text = SaveText(dictionary);
  const std::size_t begin = text.find("<" + name + " ");
  return begin == std::string::npos ? kFailed : text.substr(begin, text.find("</", begin) - begin);
}

std::string GetString(IDictionary& dictionary, const char* path) {
  return GetText([&](IOrvPString* text) { return dictionary.GetValue(path, text); });
}

std::string GetAttribute(IDictionary& dictionary, const char* path, const char* name) {
  return GetText([&](IOrvPString* text) { return dictionary.GetAttribute(path, name, text); });
}

Names GetEntries(IDictionary& dictionary, const char* path) {
  return GetNames([&](IOrvPStringList* list) { return dictionary.GetEntries(path, list); });
}

Names GetPaths(IDictionary& dictionary, const char* path) {
  return GetNames([&](IOrvPStringList* list) { return dictionary.EnumeratePaths(path, list); });
}

Names GetDifferences(IDictionary& dictionary, const char* path, const char* other_path) {
  return GetNames(
      [&](IOrvPStringList* list) { return dictionary.CompareSubtrees(path, &dictionary, other_path, list); });
}

Names GetStrings(IDictionary& dictionary, const char* path) {
  return GetNames([&](IOrvPStringList* list) { return dictionary.GetValue(path, list); });
}

bool SetStrings(IDictionary& dictionary, const char* path, const Names& values) {
  const orv_test::PStringList list(values);
  return dictionary.SetValue(path, static_cast<const IOrvPStringList*>(list.out()));
}

std::string Dump(const ElementTree& tree) {
  std::string dump;
  if (tree.root() != kNoElement) DumpElement(tree, tree.root(), dump);
  return dump;
}

bool LoadTree(ElementTree& tree, std::string_view text) {
  const auto kept = std::make_shared<const std::string>(text);
  tree.Clear();
  tree.KeepAlive(kept);
  return ReadXml(*kept, tree);
}

std::string LoadedDump(std::string_view text) {
  ElementTree tree;
  const bool loaded = LoadTree(tree, text);
  return (loaded ? "" : "failed: ") + Dump(tree);
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
