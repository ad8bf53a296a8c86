#include "flow/paths/PathLook.h"

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Flow {

namespace {

// In the order in which the file system looks for them.
constexpr const char* kMacros[] = {"TEMP", "PERMANENT", "HOSTEXEC", "WINDIR", "WINSYSDIR", "PROGRAMFILES", "WINTEMP"};

}  // namespace

std::string FolderOf(const std::string& path) {
  const std::size_t cut = path.find_last_of("/\\");
  return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

std::vector<std::string> TextsAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  return dictionary.GetValue(path.c_str(), texts.get()) ? texts.Texts() : std::vector<std::string>();
}

std::string MacroAtBeginOf(const std::string& name) {
  for (const char* macro : kMacros) {
    if (name.starts_with(macro)) return macro;
  }
  return {};
}

FlowPaths::FlowPaths(const std::string& name, const std::string& file, const std::vector<FlowBeside>& beside) {
  // The one that runs first keeps its name.
  const auto add = [this](const std::string& workflow, const std::string& its_file) {
    if (!workflow.empty()) folders_.try_emplace(workflow, FolderOf(its_file));
  };
  for (const FlowBeside& flow : beside) {
    if (flow.comes_first) add(flow.workflow.name, flow.file);
  }
  add(name, file);
  for (const FlowBeside& flow : beside) add(flow.workflow.name, flow.file);
}

std::string FlowPaths::WorkflowIn(const std::string& path) {
  if (path.empty() || path[0] != '$' || path.find('\\') != std::string::npos) return {};
  const std::string name = path.substr(1, path.find('/') - 1);
  return MacroAtBeginOf(path.substr(1)).empty() ? name : std::string();
}

std::vector<std::string> FlowPaths::Names() const {
  std::vector<std::string> names;
  for (const auto& [name, folder] : folders_) names.push_back(name);
  return names;
}

std::optional<std::string> FlowPaths::Translate(const std::string& path) const {
  const std::string workflow = WorkflowIn(path);
  if (workflow.empty()) return path;
  const auto folder = folders_.find(workflow);
  if (folder == folders_.end() || folder->second.empty()) return std::nullopt;
  return folder->second + path.substr(1 + workflow.size());
}

bool FlowPaths::IsWhole(const std::string& path) {
  return !path.empty() && (path[0] == '/' || path[0] == '\\' || path[0] == '$' || (path.size() > 1 && path[1] == ':'));
}

FileLook::FileLook() : object_(WorkFlowFactory::CreateNewObject(ObjectNames::kFileSystem)) {
  if (object_ != nullptr) files_ = static_cast<IFileSystemA*>(object_->QueryInterface(InterfaceNames::kFileSystemA));
}

FileLook::~FileLook() {
  if (object_ != nullptr) object_->Release();
}

bool FileLook::IsFile(const std::string& path) const { return files_ != nullptr && files_->FileExists(path.c_str()); }

bool FileLook::IsFolder(const std::string& path) const {
  return files_ != nullptr && files_->DirectoryExists(path.c_str());
}

}  // namespace OrvWorkFlow::Flow
