// Files and folders that a workflow's own entries name, and paths that begin with a workflow that is not here.
#include <algorithm>
#include <set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"
#include "flow/paths/ConfigurationFile.h"
#include "flow/paths/PathLook.h"

namespace OrvWorkFlow::Flow {

namespace {

class FileCheck {
 public:
  FileCheck(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings)
      : dictionary_(dictionary),
        workflow_(workflow),
        options_(options),
        findings_(findings),
        paths_(workflow.name, options.file, options.beside),
        may_take_in_(MayTakeOthersIn(workflow, options)) {}

  void CheckFolders() {
    for (const std::string& name : workflow_.directories) {
      CheckFoldersOf(std::string(WorkflowSchema::kDirectories) + "/" + name);
    }
  }

  void CheckInstance(const NodeType& type, const Instance& instance) {
    CheckFoldersOf(instance.path);
    CheckConfiguration(instance);
    if (type.name != kAbsorbingType) return;
    const std::string path = instance.path + "/Parameters/File";
    const std::string file = Base::TextAt(dictionary_, path);
    if (KnowsBegin(path, file) && CanBeLookedFor(file) && !look_.IsFile(*paths_.Translate(file))) {
      Add(Severity::Warning, path, "there is no such file: " + file, "put it there before the signal comes");
    }
  }

  // All other texts of the workflow that begin as a path of a workflow does.
  void CheckTexts() {
    std::set<std::string> told;
    for (const Finding& finding : findings_) told.insert(finding.path);
    const Sdk::TextListHolder paths;
    if (!dictionary_.EnumeratePaths("", paths.get())) return;
    for (const std::string& path : paths.Texts()) {
      if (dictionary_.GetValueType(path.c_str()) != ValueType::String || told.count(path) != 0) continue;
      const std::string text = Base::TextAt(dictionary_, path);
      if (text.starts_with("$") && text.find('/') != std::string::npos) KnowsBegin(path, text);
    }
  }

 private:
  void CheckFoldersOf(const std::string& owner) {
    const std::string write = owner + WorkflowSchema::kWriteDir;
    const std::string directory = Base::TextAt(dictionary_, write);
    if (KnowsBegin(write, directory) && CanBeLookedFor(directory) && look_.IsFile(*paths_.Translate(directory))) {
      Add(Severity::Warning, write, "is a file, so nothing can be written into it: " + directory, "name a folder");
    }
    const std::string read = owner + WorkflowSchema::kReadDirs;
    for (const std::string& folder : TextsAt(dictionary_, read)) {
      if (!KnowsBegin(read, folder) || !CanBeLookedFor(folder)) continue;
      if (look_.IsFolder(*paths_.Translate(folder))) continue;
      Add(Severity::Warning, read, "there is no such folder: " + folder, "make it, or take it out");
    }
  }

  // It may come to be in the run; a node that cannot read it then says so.
  void CheckConfiguration(const Instance& instance) {
    const std::string path = instance.path + WorkflowSchema::kConfigFile;
    const std::string file = Base::TextAt(dictionary_, path);
    if (file.empty() || options_.file.empty() || !look_.CanLook()) return;
    if (!KnowsBegin(path, file) || ReadConfiguration(dictionary_, instance.path, file, paths_)) return;
    const bool is_there = IsThere(instance, file);
    Add(Severity::Warning, path,
        is_there ? "is no dictionary that can be read: " + file : "there is no such file: " + file,
        "it has to be there when the first signal comes to this node");
  }

  bool IsThere(const Instance& instance, const std::string& file) const {
    if (const auto whole = paths_.Translate(file); whole && look_.IsFile(*whole)) return true;
    if (FlowPaths::IsWhole(file)) return false;
    const std::vector<std::string> folders = ConfigurationFolders(dictionary_, instance.path, file);
    return std::any_of(folders.begin(), folders.end(), [&](const std::string& folder) {
      const auto whole = paths_.Translate(folder);
      return whole && !whole->empty() && look_.IsFile(*whole + "/" + file);
    });
  }

  // False, and told, for a path that begins with a workflow that is not here; nothing is told where it may come.
  bool KnowsBegin(const std::string& path, const std::string& text) {
    const std::string name = FlowPaths::WorkflowIn(text);
    if (name.empty() || paths_.Knows(name)) return true;
    const std::string nearest = Base::NearestName(name, paths_.Names());
    if (may_take_in_ ? nearest.empty() : !CanStandInAPath(name)) return false;
    Add(Severity::Warning, path, "begins with a workflow that is not here: $" + name,
        nearest.empty() ? "write the name of this workflow or of one that is taken in"
                        : "did you mean $" + nearest + "?");
    return false;
  }

  bool CanBeLookedFor(const std::string& path) const {
    return look_.CanLook() && !options_.file.empty() && FlowPaths::IsWhole(path) && paths_.Translate(path);
  }

  void Add(Severity severity, const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({severity, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  const Workflow& workflow_;
  const CheckOptions& options_;
  Findings& findings_;
  const FlowPaths paths_;
  const FileLook look_;
  const bool may_take_in_;
};

}  // namespace

void CheckFiles(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  FileCheck check(dictionary, workflow, options, findings);
  check.CheckFolders();
  for (const NodeType& type : workflow.types) {
    for (const Instance& instance : type.instances) check.CheckInstance(type, instance);
  }
  if (!options.is_continued) check.CheckTexts();
}

}  // namespace OrvWorkFlow::Flow
