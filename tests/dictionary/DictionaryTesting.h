// What the dictionary's tests share: short ways in and out of a dictionary and a tree.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "dictionary/tree/ElementTree.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

using Names = std::vector<std::string>;

bool LoadText(IDictionary& dictionary, std::string_view text);
std::string SaveText(IDictionary& dictionary);
// The element with attributes as it stands in a saved file, up to the first end tag.
std::string Saved(IDictionary& dictionary, const std::string& name);

// A text that no entry holds stands for a failure of the getters below.
inline constexpr char kFailed[] = "<failed>";
std::string GetString(IDictionary& dictionary, const char* path);
std::string GetAttribute(IDictionary& dictionary, const char* path, const char* name);
Names GetEntries(IDictionary& dictionary, const char* path);
Names GetPaths(IDictionary& dictionary, const char* path);
Names GetDifferences(IDictionary& dictionary, const char* path, const char* other_path);
Names GetStrings(IDictionary& dictionary, const char* path);

// Sets a list of narrow strings.
bool SetStrings(IDictionary& dictionary, const char* path, const Names& values);

// The tree as one line: name[attributes]'text'(children), each part only where there is one.
std::string Dump(const ElementTree& tree);

// A load that keeps a copy of the text with the tree.
bool LoadTree(ElementTree& tree, std::string_view text);
// The dump of what a text loads to, behind "failed: " when the load fails.
std::string LoadedDump(std::string_view text);

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
