#include "orvflow/WriteDirectories.h"

#include <filesystem>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/DictionaryReading.h"

namespace OrvWorkFlow::Program {

namespace {

// One spelling for a place: the host's and the platform's paths of a file become the same, and letters of either case.
std::string Spell(std::string path) {
  for (char& c : path) {
    if (c == '\\') c = '/';
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (path.starts_with("z:/")) path.erase(0, 2);
  path = std::filesystem::path(path).lexically_normal().generic_string();
  while (path.ends_with('/')) path.pop_back();
  return path;
}

// "$NAME/x" lies beside the file of the workflow NAME; only a running engine can tell that of others.
std::string PlaceOf(const std::string& directory, const std::string& name, const std::string& flow) {
  const std::string own = "$" + name;
  const bool is_own = directory.starts_with(own) && directory.find_first_of("/\\") == own.size();
  if (is_own && !name.empty()) return flow.substr(0, flow.find_last_of("/\\")) + directory.substr(own.size());
  IBaseWorkFlowObject* const object = WorkFlowFactory::GetGlobalObj("FileSystem");
  if (object == nullptr) return {};
  auto* const files = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  return TextFrom([&](IOrvPString* text) { return files->WorkflowPathToPlatformPathString(directory.c_str(), text); });
}

}  // namespace

std::string WriteDirectoryOver(IDictionary& dictionary, const std::string& flow, const std::string& file) {
  const std::string spelt = Spell(file);
  const std::string name = TextAt(dictionary, WorkflowSchema::kWorkFlowName);
  for (const std::string& entry : NamesBelow(dictionary, WorkflowSchema::kDirectories)) {
    const std::string path = std::string(WorkflowSchema::kDirectories) + "/" + entry + WorkflowSchema::kWriteDir;
    const std::string directory = TextAt(dictionary, path);
    const std::string place = directory.empty() ? "" : Spell(PlaceOf(directory, name, flow));
    if (!place.empty() && spelt.starts_with(place + "/")) return directory;
  }
  return {};
}

}  // namespace OrvWorkFlow::Program
