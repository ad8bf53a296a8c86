#include "signalmediator/DictionaryAccess.h"

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow {

bool ReadEntryText(IDictionary& dictionary, const std::string& path, std::string& text) {
  const Marshalled<IOrvPString> value;
  return value && dictionary.GetValue(path.c_str(), value.get()) && ReadText(value.get(), text);
}

bool ReadEntryTexts(IDictionary& dictionary, const std::string& path, std::vector<std::string>& texts) {
  const Marshalled<IOrvPStringList> values;
  return values && dictionary.GetValue(path.c_str(), values.get()) && ReadTexts(values.get(), texts);
}

std::string EntryText(IDictionary& dictionary, const std::string& path) {
  std::string text;
  ReadEntryText(dictionary, path, text);
  return text;
}

std::vector<std::string> EntryTexts(IDictionary& dictionary, const std::string& path) {
  std::vector<std::string> texts;
  ReadEntryTexts(dictionary, path, texts);
  return texts;
}

bool ListEntries(IDictionary& dictionary, const std::string& path, std::vector<std::string>& names) {
  const Marshalled<IOrvPStringList> entries;
  return entries && dictionary.GetEntries(path.c_str(), entries.get()) && ReadTexts(entries.get(), names);
}

std::vector<std::string> EntryNames(IDictionary& dictionary, const std::string& path) {
  std::vector<std::string> names;
  ListEntries(dictionary, path, names);
  return names;
}

// Asks for the one entry, since a type may have very many instances. A name that a path would take apart is in no
// listing, nor is the holder of list items.
bool HasEntry(IDictionary& dictionary, const std::string& parent, const std::string& name) {
  if (name.empty() || name.find('/') != std::string::npos || name == WorkflowSchema::kListEntries) return false;
  return dictionary.Exists((parent + "/" + name).c_str());
}

std::string DirectorySetPath(const std::string& workflow_name) {
  std::string path = WorkflowSchema::kDirectories;
  path += '/';
  if (!workflow_name.empty() && workflow_name.front() >= '0' && workflow_name.front() <= '9') path += '_';
  return path + workflow_name;
}

}  // namespace OrvWorkFlow
