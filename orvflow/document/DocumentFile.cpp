#include "orvflow/document/DocumentFile.h"

#include <algorithm>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/files/DictionaryLoading.h"
#include "host/files/HostFiles.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/files/SaveLeftovers.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

bool IsNothing(const std::string& file) {
  if (file == "/dev/null" || file == "nul" || file == "NUL") return true;
  if (IsStandardStream(file)) return false;
  const Host::FileReading reading = Host::ReadThrough(Host::MakeAbsolutePath(file));
  constexpr std::uint64_t kEmptyChecksum = 0xCBF29CE484222325u;
  return reading.reason.empty() && reading.checksum == kEmptyChecksum;
}

std::string LastFailure(IFileSystemA& files) {
  const Sdk::TextHolder operation;
  const Sdk::TextHolder path;
  const Sdk::TextHolder reason;
  if (!files.GetLastFailure(operation.get(), path.get(), reason.get())) return "the system gives no reason";
  return reason.Text();
}

std::vector<std::string> EntriesOf(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder names;
  return dictionary.GetEntries(path.c_str(), names.get()) ? names.Texts() : std::vector<std::string>();
}

// The entry in words: type, value and attributes.
std::vector<std::string> ContentOf(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  std::vector<std::string> content = {std::to_string(static_cast<int>(dictionary.GetValueType(path.c_str())))};
  if (dictionary.GetValueTexts(path.c_str(), texts.get())) {
    for (const std::string& text : texts.Texts()) content.push_back("value " + text);
  }
  const Sdk::TextListHolder names;
  std::vector<std::string> attributes;
  if (dictionary.GetAttributeNames(path.c_str(), names.get())) attributes = names.Texts();
  std::sort(attributes.begin(), attributes.end());
  for (const std::string& name : attributes) {
    const Sdk::TextHolder value;
    dictionary.GetAttribute(path.c_str(), name.c_str(), value.get());
    content.push_back(name + "=" + value.Text());
  }
  return content;
}

// In all that calls of the interface can see: layout is none of it.
bool HaveSame(IDictionary& one, IDictionary& other, const std::string& path) {
  if (ContentOf(one, path) != ContentOf(other, path)) return false;
  const std::vector<std::string> names = EntriesOf(one, path);
  if (names != EntriesOf(other, path)) return false;
  return std::all_of(names.begin(), names.end(),
                     [&](const std::string& name) { return HaveSame(one, other, path + "/" + name); });
}

}  // namespace

DocumentFiles::DocumentFiles(const std::string& key_file) {
  if (!key_file.empty()) key_.emplace(key_file);
  host_ = std::make_unique<Host::WorkflowHost>();
  encryption_object_.reset(WorkFlowFactory::CreateNewObject(ObjectNames::kEncryption));
  if (encryption_object_ != nullptr) {
    encryption_ = static_cast<IEncryption*>(encryption_object_->QueryInterface(InterfaceNames::kEncryption));
  }
  IBaseWorkFlowObject* const files = WorkFlowFactory::GetGlobalObj(ObjectNames::kFileSystem);
  if (files != nullptr) files_ = static_cast<IFileSystemA*>(files->QueryInterface(InterfaceNames::kFileSystemA));
  if (files_ == nullptr || encryption_ == nullptr) {
    throw ProgramError(ExitCode::PluginBroken, "the library has no object FileSystem or Encryption");
  }
}

DocumentFiles::~DocumentFiles() = default;

Host::WorkflowHost::OwnedDictionary DocumentFiles::MakeDictionary() const {
  Host::WorkflowHost::OwnedDictionary dictionary = host_->MakeDictionary();
  if (key_) dictionary->SetEncryptionKey(key_->key());
  return dictionary;
}

DocumentSource DocumentFiles::Read(const std::string& file, const std::string& shown_name) const {
  DocumentSource source;
  const Host::WorkflowHost::OwnedDictionary dictionary = MakeDictionary();
  if (IsStandardStream(file)) {
    source.text = ReadStandardInput();
    LoadDictionaryText(*dictionary, source.text, shown_name);
  } else {
    LoadDictionary(*dictionary, Host::MakeAbsolutePath(file), shown_name);
    FileReport report;
    if (!dictionary->GetLoadReport(&report, nullptr)) throw std::bad_alloc();
    source.is_enciphered = key_ && !report.plain_under_key;
    source.text = ReadBytes(file, shown_name);
    if (source.is_enciphered) {
      const Sdk::TextHolder plain;
      if (!encryption_->DecryptString(source.text.c_str(), key_->key(), plain.get())) throw std::bad_alloc();
      source.text = plain.Text();
    }
  }
  if (!dictionary->Exists("/")) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name, "", "is no dictionary: its root is not IDictionaryRoot");
  }
  for (const std::string& problem : Host::LookAtLoadedText(*dictionary).problems) {
    PrintErrorLine(shown_name + ": " + problem);
  }
  source.document = Document::Read(source.text, shown_name);
  return source;
}

DocumentSource DocumentFiles::ReadOrNothing(const std::string& file, const std::string& shown_name) const {
  return IsNothing(file) ? DocumentSource() : Read(file, shown_name);
}

std::string DocumentFiles::ReadBytes(const std::string& file, const std::string& shown_name) const {
  const Sdk::StreamHolder bytes;
  if (!files_->ReadFileToStream(Host::MakeAbsolutePath(file).c_str(), bytes.get())) {
    throw FileError(ExitCode::Failed, shown_name, "", "cannot be read: " + LastFailure(*files_));
  }
  return {static_cast<const char*>(bytes->GetData()), bytes->GetSize()};
}

void DocumentFiles::Write(const std::string& file, const std::string& text, bool is_enciphered) const {
  std::string bytes = text;
  if (is_enciphered) {
    const Sdk::TextHolder enciphered;
    if (!encryption_->EncryptString(text.c_str(), key_->key(), enciphered.get())) throw std::bad_alloc();
    bytes = enciphered.Text();
  }
  if (IsStandardStream(file)) return WriteStandardOutput(bytes);
  const std::string path = Host::MakeAbsolutePath(file);
  RemoveSaveLeftovers(path);
  if (files_->ReplaceFileBytes(path.c_str(), bytes.data(), bytes.size())) return;
  throw FileError(ExitCode::Failed, file, "", "cannot be written: " + LastFailure(*files_) + "; it is as it was");
}

bool DocumentFiles::HoldSame(const std::string& one, const std::string& other) const {
  const Host::WorkflowHost::OwnedDictionary first = host_->MakeDictionary();
  const Host::WorkflowHost::OwnedDictionary second = host_->MakeDictionary();
  return first->LoadFromText(one.data(), one.size()) && second->LoadFromText(other.data(), other.size()) &&
         HaveSame(*first, *second, "");
}

}  // namespace OrvWorkFlow::Program
