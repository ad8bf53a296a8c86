// The dictionary's operations on files and other saved forms.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CoreObjects/Tracer.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/guard/Guarded.h"
#include "dictionary/object/DictionaryObject.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/xml/Bytes.h"
#include "dictionary/xml/XmlProblems.h"
#include "dictionary/xml/XmlReader.h"
#include "dictionary/xml/XmlWriter.h"

namespace OrvWorkFlow::Core::Dictionary {
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

std::string At(std::string_view text, const XmlProblem& problem) {
  const TextPosition position = PositionFinder(text).At(problem.offset);
  return "line " + std::to_string(position.line) + ", column " + std::to_string(position.column) + ": " + problem.what;
}

// Says what is wrong with a text that is no dictionary; `is_subtree` for one whose root must have its usual name.
bool FailForText(std::string_view text, bool is_subtree, FileOutcome& outcome) {
  outcome.Fail(FileFailure::Damaged);
  try {
    const XmlProblems problems = FindXmlProblems(text);
    const XmlProblem* wrong = nullptr;
    if (problems.fatal) {
      wrong = &*problems.cause;
    } else if (is_subtree && problems.foreign_root) {
      wrong = &*problems.foreign_root;
    }
    if (wrong == nullptr) return false;
    const TextPosition position = PositionFinder(text).At(wrong->offset);
    outcome.report.line = position.line;
    outcome.report.column = position.column;
    outcome.text = wrong->what;
    if (problems.fatal && wrong->what != problems.fatal->what) outcome.text += "; " + problems.fatal->what;
  } catch (const std::bad_alloc&) {  // It is damaged all the same.
    outcome.text.clear();
  }
  return false;
}

// For a text that did not load. Enciphered ones need a word of their own: nothing in them is wrong at a place.
bool FailForContent(std::string_view text, bool is_subtree, FileOutcome& outcome) {
  const bool has_key = outcome.has_key;
  if (IsEnciphered(text)) {
    if (!outcome.text.empty()) return outcome.Fail(FileFailure::NotStarted, std::string(outcome.text));
    return outcome.Fail(FileFailure::NotDeciphered,
                        has_key ? "enciphered, and the key does not open it" : "enciphered, and no key is given");
  }
  if (IsBrokenEnciphered(text)) {
    return outcome.Fail(FileFailure::NotDeciphered, "enciphered text that was cut off or changed");
  }
  // What another key makes of a text is noise.
  const bool was_enciphered = has_key && !outcome.report.plain_under_key;
  if (was_enciphered && !TrimBlanks(text).starts_with('<')) {
    return outcome.Fail(FileFailure::NotDeciphered, "enciphered with another key, or damaged");
  }
  if (text.size() > kMaxTextSize) return outcome.Fail(FileFailure::TooLarge, "larger than 4 GiB");
  return FailForText(text, is_subtree, outcome);
}

bool ReadSubtree(DataStore& store, const char* path, std::string_view text, std::shared_ptr<const void> owner,
                 FileOutcome& outcome) {
  if (text.size() > kMaxTextSize) return outcome.Fail(FileFailure::TooLarge);
  ElementTree tree;
  tree.KeepAlive(std::move(owner));
  if (!ReadXml(text, tree) || !tree.HasUsualRoot()) return FailForContent(text, true, outcome);
  return store.PutSubtree(path, tree) || outcome.Fail(FileFailure::NotStarted, "no valid path");
}

}  // namespace

Found<IFileSystemA> CDictionary::FindFileSystem() {
  return FindObject<IFileSystemA>(FindOrder::StoreFirst, utility_store(), ObjectNames::kFileSystem,
                                  InterfaceNames::kFileSystemA);
}

Found<IEncryption> CDictionary::FindEncryption(const char* path, const char* consequence) {
  Found<IEncryption> encryption = FindObject<IEncryption>(FindOrder::StoreFirst, utility_store(),
                                                          ObjectNames::kEncryption, InterfaceNames::kEncryption);
  if (encryption) return encryption;
  const Found<ILogger> logger =
      FindObject<ILogger>(FindOrder::StoreFirst, utility_store(), ObjectNames::kLogger, InterfaceNames::kLogger);
  Tracer tracer;
  tracer.SetLogger(logger.get());
  tracer.Log("/workflow/dictionary", "There is a key and no object Encryption: %s is %s", path, consequence);
  return encryption;
}

bool CDictionary::ReadFile(const char* file_name, FileText& content, FileOutcome& outcome) {
  if (file_name == nullptr || *file_name == '\0') return outcome.Fail(FileFailure::NotStarted, "no file name");
  const Found<IFileSystemA> file_system = FindFileSystem();
  if (!file_system) return outcome.Fail(FileFailure::NotStarted, "there is no object FileSystem");
  Base::SecretText key;
  if (!key_.Copy(key)) return outcome.Fail(FileFailure::NoMemory);
  const std::string path = file_.FindForLoading(*file_system.get(), file_name);
  outcome.has_key = !key.empty();
  if (key.empty()) return ReadPlainFile(*file_system.get(), path.c_str(), content, outcome);
  const Found<IEncryption> encryption = FindEncryption(path.c_str(), "a plain file");
  if (encryption) {
    return ReadEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, content, outcome);
  }
  if (!ReadPlainFile(*file_system.get(), path.c_str(), content, outcome)) return false;
  if (IsEnciphered(content.text)) {
    // It is still to be loaded, and with that the dictionary to be emptied.
    outcome.text = "enciphered, and the object Encryption cannot be had";
  } else {
    outcome.report.plain_under_key = true;
  }
  return true;
}

bool CDictionary::WriteFile(const char* file_name, const std::function<bool(TextBuffer&)>& write,
                            FileOutcome& outcome) {
  if (file_name == nullptr || *file_name == '\0') return outcome.Fail(FileFailure::NotStarted, "no file name");
  const Found<IFileSystemA> file_system = FindFileSystem();
  if (!file_system) return outcome.Fail(FileFailure::NotStarted, "there is no object FileSystem");
  Base::SecretText key;
  if (!key_.Copy(key)) return outcome.Fail(FileFailure::NoMemory);
  const std::string path = file_.NameForSaving(file_name);
  if (key.empty()) {
    TextBuffer text;
    if (!write(text)) return outcome.Fail(FileFailure::NotStarted, "no such entry");
    return ReplaceFile(*file_system.get(), path.c_str(), text.view(), outcome);
  }
  const Found<IEncryption> encryption = FindEncryption(path.c_str(), "not written");
  if (!encryption) return outcome.Fail(FileFailure::NotEnciphered, "there is a key and no object Encryption");
  SecretBuffer text;
  if (!write(*text)) return outcome.Fail(FileFailure::NotStarted, "no such entry");
  return WriteEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, text, outcome);
}

bool CDictionary::LoadText(FileText content, DataStore::Pairs pairs, FileOutcome& outcome) {
  outcome.owner = content.owner;
  outcome.content = content.text;
  const std::shared_ptr<const void> kept = content.owner;
  if (store_.Load(content.text, std::move(content.owner), pairs)) return true;
  return FailForContent(content.text, false, outcome);
}

bool CDictionary::Load(const char* file_name, DataStore::Pairs pairs) {
  return last_load_.Record([&](FileOutcome& outcome) {
    FileText content;
    return ReadFile(file_name, content, outcome) && LoadText(std::move(content), pairs, outcome);
  });
}

bool CDictionary::LoadFile(const char* file_name) { return Load(file_name, DataStore::Pairs::Taken); }
bool CDictionary::LoadFileKeepingPairs(const char* file_name) { return Load(file_name, DataStore::Pairs::Kept); }

bool CDictionary::Save(const char* file_name, const std::function<bool(TextBuffer&)>& write) {
  return last_save_.Record([&](FileOutcome& outcome) { return WriteFile(file_name, write, outcome); });
}

bool CDictionary::SaveFileWithPairs(const char* file_name) {
  return Save(file_name, [&](TextBuffer& text) { return store_.Save(DataStore::Pairs::Taken, text), true; });
}

// The name/value pairs go first, whatever becomes of the file.
bool CDictionary::SaveFile(const char* file_name) {
  return last_save_.Record([&](FileOutcome& outcome) {
    store_.EmptyNameValuePairs();
    return WriteFile(
        file_name, [&](TextBuffer& text) { return store_.Save(DataStore::Pairs::Emptied, text), true; }, outcome);
  });
}

bool CDictionary::LoadFromText(const char* text, std::size_t length) {
  return last_load_.Record([&](FileOutcome& outcome) {
    if (text == nullptr) return outcome.Fail(FileFailure::NotStarted, "no text");
    if (length == 0) return FailForText({}, false, outcome);
    if (length > kMaxTextSize) return outcome.Fail(FileFailure::TooLarge);
    const auto kept = std::make_shared<const std::string>(text, length);
    return LoadText({kept, *kept}, DataStore::Pairs::Taken, outcome);
  });
}

bool CDictionary::SaveToText(IOrvPString* text) {
  return Base::Guarded([&] {
    if (text == nullptr) return false;
    TextBuffer output;
    store_.Save(DataStore::Pairs::Taken, output);
    return AssignText(text, output.view());
  });
}

bool CDictionary::SaveSubtree(const char* path, const char* file_name) {
  return Save(file_name, [&](TextBuffer& text) { return WriteSubtree(store_, path, text); });
}

bool CDictionary::LoadSubtree(const char* path, const char* file_name) {
  return last_load_.Record([&](FileOutcome& outcome) {
    FileText content;
    return ReadFile(file_name, content, outcome) &&
           ReadSubtree(store_, path, content.text, std::move(content.owner), outcome);
  });
}

bool CDictionary::SaveSubtreeToStream(const char* path, IOrvBasicStream* stream) {
  return Base::Guarded([&] {
    TextBuffer text;
    return stream != nullptr && WriteSubtree(store_, path, text) &&
           stream->Assign(text.view().data(), text.view().size());
  });
}

bool CDictionary::LoadSubtreeFromStream(const char* path, const IOrvBasicStream* stream) {
  return last_load_.Record([&](FileOutcome& outcome) {
    if (stream == nullptr) return outcome.Fail(FileFailure::NotStarted, "no stream");
    if (stream->GetSize() == 0) return FailForText({}, true, outcome);
    const std::string_view text(static_cast<const char*>(stream->GetData()), stream->GetSize());
    return ReadSubtree(store_, path, text, nullptr, outcome);
  });
}

bool CDictionary::SavePairs(const char* file_name) {
  return Save(file_name, [&](TextBuffer& text) {
    if (!WriteSubtree(store_, WorkflowSchema::kNameValuePairs, text)) DataStore().Save(DataStore::Pairs::Taken, text);
    return true;
  });
}

bool CDictionary::LoadPairs(const char* file_name) { return LoadSubtree(WorkflowSchema::kNameValuePairs, file_name); }

bool CDictionary::GetLoadProblems(IOrvPStringList* problems, std::uint32_t* remarks, std::uint32_t* first_line) {
  return Base::Guarded([&] {
    std::shared_ptr<const void> owner;
    std::string_view content;
    if (problems == nullptr || !last_load_.GetContent(owner, content)) return false;
    const XmlProblems found = FindXmlProblems(content);
    std::vector<std::string> texts;
    for (const XmlProblem& problem : found.found) texts.push_back(At(content, problem));
    if (!AssignTexts(problems, texts)) return false;
    if (remarks != nullptr) *remarks = found.remarks;
    if (first_line != nullptr) *first_line = PositionFinder(content).At(found.first_remark).line;
    return true;
  });
}

}  // namespace OrvWorkFlow::Core::Dictionary
