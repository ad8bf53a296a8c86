#include "orvflow/run/WriteDirectory.h"
#include "OrvWorkFlow/Names.h"

#include <stdexcept>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kMarkerFile[] = "/WorkFlowIsRunning.txt";  // The engine's.

IFileSystemA& FileSystem() {
  IBaseWorkFlowObject* const object = WorkFlowFactory::GetGlobalObj(ObjectNames::kFileSystem);
  auto* const files =
      object == nullptr ? nullptr : static_cast<IFileSystemA*>(object->QueryInterface(InterfaceNames::kFileSystemA));
  if (files == nullptr) throw std::runtime_error("the library has no file system");
  return *files;
}

std::string ReadDirectory(IDictionary& dictionary) {
  const std::string name = Base::TextAt(dictionary, WorkflowSchema::kWorkFlowName);
  if (name.empty()) return {};
  const bool digit = name.front() >= '0' && name.front() <= '9';
  return Base::TextAt(dictionary, std::string(WorkflowSchema::kDirectories) + "/" + (digit ? "_" : "") + name +
                                      WorkflowSchema::kWriteDir);
}

}  // namespace

WriteDirectory::WriteDirectory(Host::WorkflowHost& host, const std::string& flow)
    : host_(host),
      directory_(ReadDirectory(host.dictionary())),
      marker_(directory_ + kMarkerFile),
      made_by_("This directory was made by a run of " + flow + "\n") {}

void WriteDirectory::BeginAnew() {
  if (directory_.empty()) return;
  IFileSystemA& files = FileSystem();
  if (files.FileExists(marker_.c_str())) ClearUp();
  if (files.DirectoryExists(directory_.c_str()) || !files.MakeDirectory(directory_.c_str())) return;
  files.WriteFileText(marker_.c_str(), made_by_.c_str());
}

void WriteDirectory::ClearUp() {
  IFileSystemA& files = FileSystem();
  const std::string maker =
      Sdk::TextFrom([&](IOrvPString* text) { return files.ReadFileToString(marker_.c_str(), text); });
  std::string why = "it was there before that run, or a state was saved since";
  if (maker == made_by_) {
    if (host_.mediator().DeleteWriteDirectory(directory_.c_str())) {
      PrintErrorLine(directory_ + ": deleted: a run that was killed had made it, and had saved no state");
      return;
    }
    why = Sdk::TextFrom([&](IOrvPString* text) { return host_.mediator().GetLastErrorText(text); });
  }
  files.RemoveFile(marker_.c_str());
  PrintErrorLine(directory_ + ": may hold what a run that was killed has left; it is not emptied: " + why);
}

void WriteDirectory::EndRun() {
  if (!directory_.empty() && FileSystem().FileExists(marker_.c_str())) FileSystem().RemoveFile(marker_.c_str());
}

}  // namespace OrvWorkFlow::Program
