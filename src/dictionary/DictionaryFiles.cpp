// The dictionary's operations on files and other saved forms.
#include <memory>
#include <string>
#include <utility>

#include "CoreObjects/Tracer.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "dictionary/AttributeText.h"
#include "dictionary/DictionaryObject.h"
#include "dictionary/Guarded.h"
#include "dictionary/XmlReader.h"
#include "dictionary/XmlWriter.h"

namespace OrvWorkFlow {
namespace {

// Appends a file with the entry as its root.
bool WriteSubtree(DataStore& store, const char* path, TextBuffer& output) {
  ElementTree tree;
  if (!store.TakeSubtree(path, tree)) return false;
  const std::string attributes(tree.attributes(tree.root()));
  tree.SetAttributes(tree.root(), WithAttribute(attributes, kFileVersionAttribute, kFileVersion));
  WriteXml(tree, output);
  return true;
}

bool ReadSubtree(DataStore& store, const char* path, std::string_view text, std::shared_ptr<const void> owner) {
  if (text.size() > kMaxTextSize) return false;
  ElementTree tree;
  tree.KeepAlive(std::move(owner));
  return ReadXml(text, tree) && tree.HasUsualRoot() && store.PutSubtree(path, tree);
}

}  // namespace

Found<IFileSystemA> CDictionary::FindFileSystem() {
  return FindObject<IFileSystemA>(FindOrder::StoreFirst, utility_store(), ObjectNames::kFileSystem,
                                  InterfaceNames::kFileSystemA);
}

Found<IEncryption> CDictionary::FindEncryption(const char* path) {
  Found<IEncryption> encryption = FindObject<IEncryption>(FindOrder::StoreFirst, utility_store(),
                                                          ObjectNames::kEncryption, InterfaceNames::kEncryption);
  if (encryption) return encryption;
  const Found<ILogger> logger =
      FindObject<ILogger>(FindOrder::StoreFirst, utility_store(), ObjectNames::kLogger, InterfaceNames::kLogger);
  Tracer tracer;
  tracer.SetLogger(logger.get());
  tracer.Log("/workflow/dictionary", "There is a key and no object Encryption: %s is a plain file", path);
  return encryption;
}

bool CDictionary::ReadFile(const char* file_name, FileText& content) {
  if (file_name == nullptr || *file_name == '\0') return false;
  const Found<IFileSystemA> file_system = FindFileSystem();
  SecretText key;
  if (!file_system || !key_.Copy(key)) return false;
  const std::string path = file_.FindForLoading(*file_system.get(), file_name);
  const Found<IEncryption> encryption = key.empty() ? Found<IEncryption>() : FindEncryption(path.c_str());
  return encryption ? ReadEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, content)
                    : ReadPlainFile(*file_system.get(), path.c_str(), content);
}

bool CDictionary::WriteFile(const char* file_name, const std::function<bool(TextBuffer&)>& write) {
  if (file_name == nullptr || *file_name == '\0') return false;
  const Found<IFileSystemA> file_system = FindFileSystem();
  SecretText key;
  if (!file_system || !key_.Copy(key)) return false;
  const std::string path = file_.NameForSaving(file_name);
  const Found<IEncryption> encryption = key.empty() ? Found<IEncryption>() : FindEncryption(path.c_str());
  if (encryption) {
    SecretBuffer text;
    return write(*text) && WriteEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, text);
  }
  TextBuffer text;
  return write(text) && file_system->ReplaceFileBytes(path.c_str(), text.view().data(), text.view().size());
}

bool CDictionary::Load(const char* file_name, DataStore::Pairs pairs) {
  return Guarded([&] {
    FileText content;
    return ReadFile(file_name, content) && store_.Load(content.text, std::move(content.owner), pairs);
  });
}

bool CDictionary::LoadFile(const char* file_name) { return Load(file_name, DataStore::Pairs::Taken); }
bool CDictionary::LoadFileKeepingPairs(const char* file_name) { return Load(file_name, DataStore::Pairs::Kept); }

bool CDictionary::SaveFileWithPairs(const char* file_name) {
  return Guarded([&] {
    return WriteFile(file_name, [&](TextBuffer& text) { return store_.Save(DataStore::Pairs::Taken, text), true; });
  });
}

// The name/value pairs go first, whatever becomes of the file.
bool CDictionary::SaveFile(const char* file_name) {
  return Guarded([&] {
    store_.EmptyNameValuePairs();
    return WriteFile(file_name, [&](TextBuffer& text) { return store_.Save(DataStore::Pairs::Emptied, text), true; });
  });
}

bool CDictionary::LoadFromText(const char* text, std::size_t length) {
  if (text == nullptr || length == 0) return false;
  return Guarded([&] {
    const auto kept = std::make_shared<const std::string>(text, length);
    return store_.Load(*kept, kept, DataStore::Pairs::Taken);
  });
}

bool CDictionary::SaveToText(IOrvPString* text) {
  return Guarded([&] {
    if (text == nullptr) return false;
    TextBuffer output;
    store_.Save(DataStore::Pairs::Taken, output);
    return AssignText(text, output.view());
  });
}

bool CDictionary::SaveSubtree(const char* path, const char* file_name) {
  return Guarded(
      [&] { return WriteFile(file_name, [&](TextBuffer& text) { return WriteSubtree(store_, path, text); }); });
}

bool CDictionary::LoadSubtree(const char* path, const char* file_name) {
  return Guarded([&] {
    FileText content;
    return ReadFile(file_name, content) && ReadSubtree(store_, path, content.text, std::move(content.owner));
  });
}

bool CDictionary::SaveSubtreeToStream(const char* path, IOrvBasicStream* stream) {
  return Guarded([&] {
    TextBuffer text;
    return stream != nullptr && WriteSubtree(store_, path, text) &&
           stream->Assign(text.view().data(), text.view().size());
  });
}

bool CDictionary::LoadSubtreeFromStream(const char* path, const IOrvBasicStream* stream) {
  return Guarded([&] {
    if (stream == nullptr || stream->GetSize() == 0) return false;
    const std::string_view text(static_cast<const char*>(stream->GetData()), stream->GetSize());
    return ReadSubtree(store_, path, text, nullptr);
  });
}

bool CDictionary::SavePairs(const char* file_name) {
  return Guarded([&] {
    return WriteFile(file_name, [&](TextBuffer& text) {
      if (!WriteSubtree(store_, WorkflowSchema::kNameValuePairs, text)) DataStore().Save(DataStore::Pairs::Taken, text);
      return true;
    });
  });
}

bool CDictionary::LoadPairs(const char* file_name) { return LoadSubtree(WorkflowSchema::kNameValuePairs, file_name); }

}  // namespace OrvWorkFlow
