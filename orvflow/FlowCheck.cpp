#include "orvflow/FlowCheck.h"

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "orvflow/DictionaryReading.h"
#include "orvflow/HostFiles.h"
#include "orvflow/Suggestion.h"
#include "orvflow/Terminal.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Program {

namespace {

std::string LibraryEntry(const std::string& entry) { return entry + WorkflowSchema::kWin32Binary; }

// As the mediator loads a library: by its name as it stands, then from the plug-in directories. The reason is that of
// the first attempt.
bool LoadLibrary(const std::string& library, std::string& reason) {
  if (WorkFlowFactory::LoadSharedLibrary(library.c_str())) return true;
  reason = WorkFlowFactory::LastLoadError();
  return WorkFlowFactory::LoadSharedLibrary((WorkflowSchema::kPluginPrefix + library).c_str());
}

void CheckLibrary(const std::string& shown_name, const std::string& entry, const std::string& library) {
  std::string reason;
  if (LoadLibrary(library, reason)) return;
  throw FileError(ExitCode::PluginBroken, shown_name, LibraryEntry(entry),
                  reason + "; put the library there, or name its folder with --plugin-path");
}

void CheckNodeType(IDictionary& dictionary, const std::string& shown_name, const std::string& type_name) {
  const std::string entry = std::string(WorkflowSchema::kWorkNodes) + "/" + type_name;
  if (NamesBelow(dictionary, entry + WorkflowSchema::kInstances).empty()) return;
  const std::string library = TextAt(dictionary, LibraryEntry(entry));
  if (library.empty()) {
    throw FileError(ExitCode::PluginBroken, shown_name, LibraryEntry(entry),
                    "no library is named; set it to the plug-in that holds " + type_name);
  }
  CheckLibrary(shown_name, entry, library);
  if (WorkFlowFactory::IsWorkNodePresent(type_name.c_str())) return;
  const TextListHolder known;
  WorkFlowFactory::GetObjectTypeNames(known.get());
  throw FileError(ExitCode::PluginBroken, shown_name, entry,
                  library + " has no node type " + type_name + Suggest(type_name, known.Texts()) +
                      " (orvflow inspect lists what it has)");
}

void CheckUtilityObjects(IDictionary& dictionary, const std::string& shown_name, const char* parent, bool global) {
  for (const std::string& name : NamesBelow(dictionary, parent)) {
    const std::string entry = std::string(parent) + "/" + name;
    const std::string library = TextAt(dictionary, LibraryEntry(entry));
    if (!library.empty()) CheckLibrary(shown_name, entry, library);
    if (!global || WorkFlowFactory::IsObjectPresent(name.c_str())) continue;
    throw FileError(ExitCode::PluginBroken, shown_name, entry,
                    "no library holds this utility object; name one in Binaries/win32_bin");
  }
}

}  // namespace

void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name) {
  switch (FindFileKind(file)) {
    case FileKind::Missing:
      throw FileError(ExitCode::Failed, shown_name, "", "no such file");
    case FileKind::Folder:
      throw FileError(ExitCode::Failed, shown_name, "", "is a folder; name the workflow's file in it");
    case FileKind::Unreadable:
      throw FileError(ExitCode::Failed, shown_name, "", "cannot be read; check its permissions");
    case FileKind::Readable:
      break;
  }
  if (!dictionary.LoadFile(file.c_str())) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name, "", "is no dictionary, or was cut off");
  }
  if (!dictionary.Exists("/")) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name, "", "is no dictionary: its root is not IDictionaryRoot");
  }
}

void CheckWorkflow(IDictionary& dictionary, const std::string& shown_name) {
  if (NamesBelow(dictionary, WorkflowSchema::kWorkNodes).empty()) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name, WorkflowSchema::kWorkNodes,
                    "a dictionary, but no workflow: it has no work nodes");
  }
  const std::string start = WorkflowSchema::kStartSignal;
  if (TextAt(dictionary, start + WorkflowSchema::kReceiverTypeName).empty() &&
      NamesBelow(dictionary, WorkflowSchema::kSignalQueue).empty() &&
      NamesBelow(dictionary, WorkflowSchema::kRebootSignals).empty()) {
    throw FileError(ExitCode::DictionaryDamaged, shown_name, start,
                    "no signal to begin with; set ReceiverTypeName, ReceiverInstanceName and IncomingSignalName");
  }
}

void CheckPlugins(IDictionary& dictionary, const std::string& shown_name) {
  CheckUtilityObjects(dictionary, shown_name, WorkflowSchema::kGlobalUtilityObjects, true);
  CheckUtilityObjects(dictionary, shown_name, WorkflowSchema::kLocalUtilityObjects, false);
  for (const std::string& type_name : NamesBelow(dictionary, WorkflowSchema::kWorkNodes)) {
    CheckNodeType(dictionary, shown_name, type_name);
  }
}

}  // namespace OrvWorkFlow::Program
