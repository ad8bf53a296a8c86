// orvflow dict: reads and edits a dictionary file.
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/DictionaryText.h"
#include "orvflow/HostFiles.h"
#include "orvflow/KeyFile.h"
#include "orvflow/StandardStreams.h"
#include "orvflow/Suggestion.h"
#include "orvflow/Verb.h"
#include "orvflow/WorkflowHost.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kPairs[] = "/IDictionaryNameValPairs";

std::string Lines(const std::vector<std::string>& texts) {
  std::string lines;
  for (const std::string& text : texts) lines += text + '\n';
  return lines;
}

class DictVerb final : public Verb {
 public:
  explicit DictVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  using Operation = void (DictVerb::*)();
  struct Action {
    const char* name;
    Operation operation;
    std::size_t most_arguments;  // behind the file; no limit for kAnyNumber
    bool makes_file;
  };
  static constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
  static const Action kActions[];

  const Action& FindAction() const;
  void Load(bool makes_file);
  void Save();
  std::string Path() const;
  ProgramError Error(ExitCode code, const std::string& text) const;

  void Get();
  void Type();
  void Set();
  void List();
  void Paths();
  void Remove();
  void Format();

  std::vector<std::string> words_;
  std::string key_file_;
  std::string file_;                    // as the user named it; "-" for the standard streams
  std::vector<std::string> arguments_;  // behind the file
  IDictionary* dictionary_ = nullptr;   // while the host is there
};

const DictVerb::Action DictVerb::kActions[] = {
    {"get", &DictVerb::Get, 1, false},         {"type", &DictVerb::Type, 1, false},
    {"set", &DictVerb::Set, kAnyNumber, true}, {"list", &DictVerb::List, 1, false},
    {"paths", &DictVerb::Paths, 1, false},     {"remove", &DictVerb::Remove, 1, false},
    {"format", &DictVerb::Format, 0, false},
};

DictVerb::DictVerb(CLI::App& program) : Verb(program, "dict", "Reads and edits a dictionary file") {
  command().add_option("ACTION", words_, "One of those below, with its arguments")->type_name("FILE [PATH] ...");
  AddKeyFileOption(command(), key_file_);
  command().footer(
      "Actions:\n"
      "  get FILE [PATH]                  the value; a list one item a line. Exit 1 where there is none\n"
      "  type FILE [PATH]                 the type's tag; Nil for none\n"
      "  set FILE PATH TAG VALUE...       sets a value and saves; a missing file is made. A list takes any\n"
      "                                   number of values, each without blanks at its ends\n"
      "  list FILE [PATH]                 the names of the entries there\n"
      "  paths FILE [PATH]                the path and all paths below it\n"
      "  remove FILE PATH                 removes the entry with all below it and saves\n"
      "  format FILE                      the file as the library saves it, to standard output\n"
      "\n"
      "Tags: str, UStr (UTF-8), int, dbl, Bool (1, 0, true, false), Binary (base64), and the lists strlist,\n"
      "UStrLst, intlist, doublelist, BoolLst. FILE may be - for standard input; set and remove then write\n"
      "to standard output. -- ends the options. Saving a file empties its /IDictionaryNameValPairs; format\n"
      "and the standard streams leave them.\n"
      "\n"
      "Example:\n"
      "  orvflow dict set flow.xml /WorkFlowEngine/Retries int -1\n"
      "  orvflow dict get flow.xml /WorkFlowEngine/Retries");
}

const DictVerb::Action& DictVerb::FindAction() const {
  std::vector<std::string> names;
  for (const Action& action : kActions) {
    if (!words_.empty() && words_.front() == action.name) return action;
    names.emplace_back(action.name);
  }
  if (words_.empty()) throw UsageError("no action given");
  throw UsageError("no action " + words_.front() + Suggest(words_.front(), names));
}

ExitCode DictVerb::Execute() {
  const Action& action = FindAction();
  if (words_.size() < 2) throw UsageError(words_.front() + ": no file given");
  file_ = words_[1];
  arguments_.assign(words_.begin() + 2, words_.end());
  if (arguments_.size() > action.most_arguments) {
    throw UsageError(words_.front() + ": one argument too many: " + arguments_[action.most_arguments]);
  }
  if (file_ == "-" && !key_file_.empty()) throw UsageError("--key-file is for files, not for standard input");
  const std::unique_ptr<WorkflowHost> host = MakeHost();
  const WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  dictionary_ = dictionary.get();
  if (!key_file_.empty()) dictionary->SetEncryptionKey(KeyFile(key_file_).key());
  Load(action.makes_file);
  (this->*action.operation)();
  return ExitCode::Done;
}

// The root without its slashes, so that the paths below it begin with one.
std::string DictVerb::Path() const {
  std::string path = arguments_.empty() ? "" : arguments_.front();
  while (path.ends_with('/')) path.pop_back();
  return path;
}

ProgramError DictVerb::Error(ExitCode code, const std::string& text) const {
  const std::string path = arguments_.empty() ? "/" : arguments_.front();
  return FileError(code, file_ == "-" ? "standard input" : file_, path, text);
}

void DictVerb::Load(bool makes_file) {
  const auto fail = [&](ExitCode code, const char* text) {
    throw FileError(code, file_ == "-" ? "standard input" : file_, "", text);
  };
  constexpr char kNoDictionary[] = "no dictionary; it is damaged, of another kind, or needs a key (--key-file)";
  if (file_ == "-") {
    const std::string input = ReadStandardInput();
    if (!dictionary_->LoadFromText(input.data(), input.size())) fail(ExitCode::DictionaryDamaged, kNoDictionary);
    return;
  }
  switch (FindFileKind(file_)) {
    case FileKind::Missing:
      if (!makes_file) fail(ExitCode::Failed, "no such file");
      return;
    case FileKind::Folder:
      fail(ExitCode::Failed, "a folder, not a file");
      return;
    case FileKind::Unreadable:
      fail(ExitCode::Failed, "cannot be read");
      return;
    case FileKind::Readable:
      break;
  }
  if (!dictionary_->LoadFile(MakeAbsolutePath(file_).c_str())) fail(ExitCode::DictionaryDamaged, kNoDictionary);
}

void DictVerb::Save() {
  if (file_ == "-") return Format();
  if (dictionary_->SaveFile(MakeAbsolutePath(file_).c_str())) return;
  throw FileError(ExitCode::Failed, file_, "", "cannot be saved; the file is as it was");
}

void DictVerb::Get() {
  const std::optional<std::string> value = ReadValue(*dictionary_, Path());
  if (!value) throw Error(ExitCode::Failed, dictionary_->Exists(Path().c_str()) ? "no value" : "no such entry");
  WriteStandardOutput(*value);
}

void DictVerb::Type() { WriteStandardOutput(std::string(TagOfType(dictionary_->GetValueType(Path().c_str()))) + '\n'); }

void DictVerb::Set() {
  if (arguments_.size() < 2) throw UsageError("set: PATH, TAG and values are needed");
  if (file_ != "-" && (Path() + '/').starts_with(std::string(kPairs) + '/')) {
    throw Error(ExitCode::Usage, "is emptied whenever a file is saved; nothing can be kept there");
  }
  bool is_set = false;
  const std::string wrong =
      WriteValue(*dictionary_, Path(), arguments_[1], {arguments_.begin() + 2, arguments_.end()}, is_set);
  if (!wrong.empty()) throw Error(ExitCode::Usage, wrong);
  if (!is_set) throw Error(ExitCode::Usage, "no path; its parts hold letters, digits, _ and - only");
  Save();
}

void DictVerb::List() {
  const TextListHolder names;
  if (!dictionary_->GetEntries(Path().c_str(), names.get())) throw Error(ExitCode::Failed, "no such entry");
  WriteStandardOutput(Lines(names.Texts()));
}

void DictVerb::Paths() {
  const TextListHolder paths;
  if (!dictionary_->EnumeratePaths(Path().c_str(), paths.get())) throw Error(ExitCode::Failed, "no such entry");
  std::vector<std::string> texts = paths.Texts();
  if (texts.front().empty()) texts.front() = "/";
  WriteStandardOutput(Lines(texts));
}

void DictVerb::Remove() {
  if (arguments_.empty()) throw UsageError("remove: no path given");
  if (!dictionary_->Delete(Path().c_str())) throw Error(ExitCode::Failed, "no such entry");
  Save();
}

void DictVerb::Format() {
  const TextHolder text;
  if (!dictionary_->SaveToText(text.get())) throw FileError(ExitCode::Failed, file_, "", "cannot be formatted");
  WriteStandardOutput({text.get()->GetText(), text.get()->GetLength()});
}

}  // namespace

std::unique_ptr<Verb> MakeDictVerb(CLI::App& program) { return std::make_unique<DictVerb>(program); }

}  // namespace OrvWorkFlow::Program
