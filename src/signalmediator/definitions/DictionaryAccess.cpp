#include "signalmediator/definitions/DictionaryAccess.h"

#include <new>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

// For a read that failed: throws when a value of the type stands there.
void ThrowUnlessMissing(IDictionary& dictionary, const std::string& path, ValueType type) {
  if (dictionary.GetValueType(path.c_str()) == type && !dictionary.IsRedirection(path.c_str())) throw std::bad_alloc();
}

// Overwrites what the marshalled text holds, in its place, before it is given back.
class WipedAtEnd {
 public:
  explicit WipedAtEnd(const Marshalled<IOrvPString>& text) : text_(text) {}
  ~WipedAtEnd() {
    if (!text_ || text_.get()->GetLength() == 0) return;
    try {
      text_.get()->Assign(std::string(text_.get()->GetLength(), '\0').data(), text_.get()->GetLength());
    } catch (...) {  // It goes with what it holds.
    }
  }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  const Marshalled<IOrvPString>& text_;
};

}  // namespace

bool ReadEntryText(IDictionary& dictionary, const std::string& path, std::string& text) {
  const Marshalled<IOrvPString> value;
  if (value && dictionary.GetValue(path.c_str(), value.get()) && ReadText(value.get(), text)) return true;
  ThrowUnlessMissing(dictionary, path, ValueType::String);
  return false;
}

bool ReadEntryTexts(IDictionary& dictionary, const std::string& path, std::vector<std::string>& texts) {
  const Marshalled<IOrvPStringList> values;
  if (values && dictionary.GetValue(path.c_str(), values.get()) && ReadTexts(values.get(), texts)) return true;
  ThrowUnlessMissing(dictionary, path, ValueType::StringList);
  return false;
}

void ReadEntrySecret(IDictionary& dictionary, const std::string& path, Base::SecretText& text) {
  text.Clear();
  const Marshalled<IOrvPString> value;
  const WipedAtEnd wiped(value);
  if (value && dictionary.GetValue(path.c_str(), value.get())) {
    text.Assign({value.get()->GetText(), value.get()->GetLength()});
  } else {
    ThrowUnlessMissing(dictionary, path, ValueType::String);
  }
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
  if (!ListEntries(dictionary, path, names) && dictionary.Exists(path.c_str())) throw std::bad_alloc();
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

}  // namespace OrvWorkFlow::Core::Mediator
