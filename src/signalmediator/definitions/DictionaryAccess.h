// Reading a dictionary into the library's own strings. What a dictionary throws passes through. What is there and
// cannot be read is not missing: std::bad_alloc is thrown then.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "base/secret/Secret.h"

namespace OrvWorkFlow::Core::Mediator {

// False, with the output unchanged, when there is no such entry of that type, or none that shows such a value.
bool ReadEntryText(IDictionary& dictionary, const std::string& path, std::string& text);
bool ReadEntryTexts(IDictionary& dictionary, const std::string& path, std::vector<std::string>& texts);

// For keys: no copy stays in memory that this library gives back. "" stands for what is missing.
void ReadEntrySecret(IDictionary& dictionary, const std::string& path, Base::SecretText& text);

// "" and an empty list stand for what is missing.
std::string EntryText(IDictionary& dictionary, const std::string& path);
std::vector<std::string> EntryTexts(IDictionary& dictionary, const std::string& path);

// The names of the children, in order; false when the entry does not exist.
bool ListEntries(IDictionary& dictionary, const std::string& path, std::vector<std::string>& names);
std::vector<std::string> EntryNames(IDictionary& dictionary, const std::string& path);

// True when the listing of `parent` holds the name.
bool HasEntry(IDictionary& dictionary, const std::string& parent, const std::string& name);

// The entry with the directories of a workflow. A name that begins with a digit gets a leading "_" there.
std::string DirectorySetPath(const std::string& workflow_name);

}  // namespace OrvWorkFlow::Core::Mediator
