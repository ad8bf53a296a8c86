// orvflow dict: reads and edits a dictionary file.
#include <algorithm>
#include <new>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/ValueTags.h"
#include "base/text/Suggestion.h"
#include "host/files/HostFiles.h"
#include "nlohmann/json.hpp"
#include "orvflow/files/DictionaryText.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/files/KeyFile.h"
#include "orvflow/files/SaveLeftovers.h"
#include "orvflow/shell/CommandDescription.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kPairs[] = "/IDictionaryNameValPairs";

std::string FolderOf(const std::string& path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == std::string::npos ? "." : path.substr(0, separator + 1);
}

bool IsPath(const std::string& path) {
  return std::all_of(path.begin(), path.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '/';
  });
}

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
    bool saves;  // writes the dictionary as a whole, to the file or to standard output
  };
  static constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
  static const Action kActions[];

  const Action& FindAction() const;
  // False for a file that is to be made.
  bool Load(bool makes_file);
  void Save();
  // What an action found, as JSON.
  void WriteJson(const char* name, nlohmann::ordered_json value) const;
  std::string Path() const;
  std::string ShownName() const;
  void TellWhatASaveChanges(bool is_allowed) const;
  std::string FindBadName() const;
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
  bool force_ = false;
  bool json_ = false;
  std::string file_;                    // as the user named it; "-" for the standard streams
  std::vector<std::string> arguments_;  // behind the file
  IDictionary* dictionary_ = nullptr;   // while the host is there
};

const DictVerb::Action DictVerb::kActions[] = {
    {"get", &DictVerb::Get, 1, false, false},        {"type", &DictVerb::Type, 1, false, false},
    {"set", &DictVerb::Set, kAnyNumber, true, true}, {"list", &DictVerb::List, 1, false, false},
    {"paths", &DictVerb::Paths, 1, false, false},    {"remove", &DictVerb::Remove, 1, false, true},
    {"format", &DictVerb::Format, 0, false, true},
};

DictVerb::DictVerb(CLI::App& program) : Verb(program, "dict", "Reads and edits a dictionary file") {
  CLI::Option* const words = command().add_option("ACTION", words_, "One of those below, with its arguments");
  words->type_name("FILE [PATH] ...");
  std::vector<std::string> actions;
  for (const Action& action : kActions) actions.emplace_back(action.name);
  using Kind = WordKind::Kind;
  DeclareWords(words, {WordKind::OneOf(actions), {Kind::Files, {}}, {Kind::EntryPaths, {}}, {}});
  AddKeyFileOption(command(), key_file_);
  AddFlag("--force", force_, "Drops comments when saving; removes all that is in the file");
  AddFlag("--json", json_, "get, type, list and paths print JSON (docs/dict.schema.json)");
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
      "and the standard streams leave them. Comments are not kept: set and remove refuse a file that\n"
      "has some, and the root's removal, without --force.\n"
      "\n"
      "Example:\n"
      "  orvflow dict set flow.xml /WorkFlowEngine/Retries int -1\n"
      "  orvflow dict get flow.xml /WorkFlowEngine/Retries\n"
      "  orvflow dict type flow.xml /WorkFlowEngine/Retries\n"
      "  orvflow dict list flow.xml /WorkFlowEngine --json\n"
      "  orvflow dict paths flow.xml\n"
      "  orvflow dict remove flow.xml /WorkFlowEngine/Retries\n"
      "  orvflow dict format - < flow.xml");
}

const DictVerb::Action& DictVerb::FindAction() const {
  std::vector<std::string> names;
  for (const Action& action : kActions) {
    if (!words_.empty() && words_.front() == action.name) return action;
    names.emplace_back(action.name);
  }
  if (words_.empty()) throw UsageError("no action given");
  throw UsageError("no action " + words_.front() + Base::Suggest(words_.front(), names));
}

ExitCode DictVerb::Execute() {
  const Action& action = FindAction();
  if (words_.size() < 2) throw UsageError(words_.front() + ": no file given");
  file_ = words_[1];
  arguments_.assign(words_.begin() + 2, words_.end());
  if (arguments_.size() > action.most_arguments) {
    throw UsageError(words_.front() + ": one argument too many: " + arguments_[action.most_arguments]);
  }
  if (json_ && (action.saves || action.makes_file)) throw UsageError("--json is for get, type, list and paths");
  if (file_ == "-" && !key_file_.empty()) throw UsageError("--key-file is for files, not for standard input");
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  dictionary_ = dictionary.get();
  if (!key_file_.empty()) dictionary->SetEncryptionKey(KeyFile(key_file_).key());
  try {
    const bool to_output = file_ == "-" || action.operation == &DictVerb::Format;
    if (Load(action.makes_file) && action.saves) TellWhatASaveChanges(to_output || force_);
    (this->*action.operation)();
  } catch (const std::bad_alloc&) {
    throw FileError(ExitCode::Failed, ShownName(), "", "not enough memory; the file is as it was");
  }
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
  return FileError(code, ShownName(), path, text);
}

std::string DictVerb::ShownName() const { return file_ == "-" ? "standard input" : file_; }

bool DictVerb::Load(bool makes_file) {
  if (file_ == "-") {
    LoadDictionaryText(*dictionary_, ReadStandardInput(), ShownName());
    return true;
  }
  if (makes_file && Host::FindFileKind(file_) == Host::FileKind::Missing) {
    const std::string folder = FolderOf(Host::MakeAbsolutePath(file_));
    if (Host::FindFileKind(folder) == Host::FileKind::Folder) return false;
    throw FileError(ExitCode::Failed, file_, "", "there is no such folder; make it first");
  }
  LoadDictionary(*dictionary_, Host::MakeAbsolutePath(file_), file_);
  return true;
}

// A save writes what the dictionary holds and nothing else: what that leaves out of the file is said before.
void DictVerb::TellWhatASaveChanges(bool is_allowed) const {
  const Host::LoadedText text = Host::LookAtLoadedText(*dictionary_);
  for (const std::string& problem : text.problems) PrintErrorLine(ShownName() + ": " + problem);
  if (text.remarks == 0) return;
  const std::string what = std::to_string(text.remarks) +
                           (text.remarks == 1 ? " comment or instruction" : " comments or instructions") +
                           ", the first in line " + std::to_string(text.first_remark_line);
  if (!is_allowed)
    throw FileError(ExitCode::Failed, ShownName(), "", "a save would drop " + what + "; --force drops them");
  PrintErrorLine(ShownName() + ": what is written leaves out " + what);
}

void DictVerb::Save() {
  if (file_ == "-") return Format();
  const std::string path = Host::MakeAbsolutePath(file_);
  RemoveSaveLeftovers(path);
  Host::SaveDictionary(*dictionary_, path, file_);
}

void DictVerb::Get() {
  const std::optional<std::string> value = ReadValue(*dictionary_, Path());
  if (!value) throw Error(ExitCode::Failed, dictionary_->Exists(Path().c_str()) ? "no value" : "no such entry");
  if (json_) {
    const Sdk::TextListHolder texts;
    if (!dictionary_->GetValueTexts(Path().c_str(), texts.get())) throw std::bad_alloc();
    return WriteJson("texts", texts.Texts());
  }
  WriteStandardOutput(*value);
}

void DictVerb::Type() {
  if (json_) return WriteJson("exists", dictionary_->Exists(Path().c_str()));
  WriteStandardOutput(std::string(Base::TagOf(dictionary_->GetValueType(Path().c_str()))) + '\n');
}

void DictVerb::WriteJson(const char* name, nlohmann::ordered_json value) const {
  using Json = nlohmann::ordered_json;
  const std::string path = Path();
  const Json json = {{"version", 1},
                     {"path", path.empty() ? "/" : path},
                     {"type", Base::TagOf(dictionary_->GetValueType(path.c_str()))},
                     {name, std::move(value)}};
  WriteStandardOutput(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

void DictVerb::Set() {
  if (arguments_.size() < 2) throw UsageError("set: PATH, TAG and values are needed");
  if (file_ != "-" && (Path() + '/').starts_with(std::string(kPairs) + '/')) {
    throw Error(ExitCode::Usage, "is emptied whenever a file is saved; nothing can be kept there");
  }
  const std::string name = FindBadName();
  if (!name.empty()) {
    throw Error(ExitCode::Usage, "\"" + name + "\" cannot name an entry in a file; names begin with a letter or _");
  }
  bool is_set = false;
  const std::string wrong =
      WriteValue(*dictionary_, Path(), arguments_[1], {arguments_.begin() + 2, arguments_.end()}, is_set);
  if (!wrong.empty()) throw Error(ExitCode::Usage, wrong);
  if (!is_set && IsPath(Path())) throw Error(ExitCode::Failed, "cannot be set; not enough memory?");
  if (!is_set) throw Error(ExitCode::Usage, "no path; its parts hold letters, digits, _ and - only");
  Save();
}

// XML has no names that begin with a digit or "-". What has such a name already may be changed.
std::string DictVerb::FindBadName() const {
  const std::string path = Path();
  if (dictionary_->Exists(path.c_str())) return {};
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const bool is_bad = end > begin && (path[begin] == '-' || (path[begin] >= '0' && path[begin] <= '9'));
    if (is_bad && !dictionary_->Exists(path.substr(0, end).c_str())) return path.substr(begin, end - begin);
    begin = end + 1;
  }
  return {};
}

void DictVerb::List() {
  const Sdk::TextListHolder names;
  if (!dictionary_->GetEntries(Path().c_str(), names.get())) throw Error(ExitCode::Failed, "no such entry");
  if (json_) return WriteJson("entries", names.Texts());
  WriteStandardOutput(Lines(names.Texts()));
}

void DictVerb::Paths() {
  const Sdk::TextListHolder paths;
  if (!dictionary_->EnumeratePaths(Path().c_str(), paths.get())) throw Error(ExitCode::Failed, "no such entry");
  std::vector<std::string> texts = paths.Texts();
  if (texts.front().empty()) texts.front() = "/";
  if (json_) return WriteJson("paths", texts);
  WriteStandardOutput(Lines(texts));
}

void DictVerb::Remove() {
  if (arguments_.empty()) throw UsageError("remove: no path given");
  if (Path().empty() && !force_) throw Error(ExitCode::Usage, "removes all that is in the file; --force does it");
  if (!dictionary_->Delete(Path().c_str())) throw Error(ExitCode::Failed, "no such entry");
  Save();
}

void DictVerb::Format() {
  const Sdk::TextHolder text;
  if (!dictionary_->SaveToText(text.get())) {
    throw FileError(ExitCode::Failed, ShownName(), "", "cannot be formatted: it nests too deep, or memory is short");
  }
  WriteStandardOutput({text.get()->GetText(), text.get()->GetLength()});
}

}  // namespace

std::unique_ptr<Verb> MakeDictVerb(CLI::App& program) { return std::make_unique<DictVerb>(program); }

}  // namespace OrvWorkFlow::Program
