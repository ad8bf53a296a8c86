#include "OrvWorkFlow/host/WorkflowHost.h"

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "host/HostParts.h"
#include "host/files/HostFiles.h"
#include "runtime/log/Logger.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Host {

namespace {

void AddPluginDirectories(const std::vector<std::string>& directories) {
  for (const std::string& directory : directories) {
    if (FindFileKind(directory) != FileKind::Folder) {
      throw HostError(HostError::Kind::Misplaced, directory, "", "no such folder; name one with plug-in libraries");
    }
  }
  for (const std::string& directory : directories) {
    Runtime::PluginLoader::AddPluginDirectory(MakeAbsolutePath(directory).c_str());
  }
}

}  // namespace

WorkflowHost::WorkflowHost(const std::vector<std::string>& plugin_directories) {
  AddPluginDirectories(plugin_directories);
  parts_ = std::make_unique<Parts>();
}

WorkflowHost::~WorkflowHost() = default;

void WorkflowHost::UseKey(const char* key) {
  parts_->key = key;
  engine().SetEncryptionKey(key);
}

void WorkflowHost::UseState(StateFile& state) { parts_->state = &state; }

void WorkflowHost::UseRecord(StateRecord& record) { parts_->record.keeper = &record.AttachTo(*this); }

void WorkflowHost::UseLogger(ILogger& logger) {
  if (WorkFlowFactory::GetGlobalObj(ObjectNames::kLogger) != nullptr) {
    throw HostError(HostError::Kind::Failed, "the workflow has a log already");
  }
  if (!WorkFlowFactory::AddGlobalObject(ObjectNames::kLogger, &logger, false)) throw std::bad_alloc();
}

void WorkflowHost::LogTo(const std::string& file) {
  const std::string path = MakeAbsolutePath(file);
  std::unique_ptr<ILogger, ObjectReleaser> logger(
      Runtime::Logger::NewForAppending(path.c_str(), Runtime::Logger::Writing::kBuffered, {}));
  if (logger == nullptr) {
    const std::string why = std::generic_category().message(errno);
    throw HostError(HostError::Kind::Failed, file, "", "cannot be written: " + why + "; name another file for the log");
  }
  UseLogger(*logger);
  parts_->own_logger = std::move(logger);
}

void WorkflowHost::AddObserver(IRunObserver& observer) { parts_->observers.Add(observer); }

void WorkflowHost::ShowMessagesWith(std::function<void(const std::string&, const std::string&)> show) {
  parts_->ShowMessagesWith(std::move(show));
}

void WorkflowHost::TellWith(LineReceiver tell) { parts_->tell = std::move(tell); }

void WorkflowHost::Load(const std::string& flow) { parts_->Load(flow); }

bool WorkflowHost::IsContinued() const { return parts_->is_continued; }

RunResult WorkflowHost::Run(const RunSettings& settings) { return parts_->Run(settings); }

void WorkflowHost::RequestStop() noexcept {
  parts_->deliveries.Forgive();
  parts_->wants_stop = true;
  parts_->bell.Ring();
}

void WorkflowHost::RequestSave() noexcept {
  parts_->wants_save = true;
  parts_->bell.Ring();
}

std::string WorkflowHost::NodeAtWork() const { return parts_->NodeAtWork(); }

ISignalMediator::Statistics WorkflowHost::GetStatistics() const {
  ISignalMediator::Statistics statistics;
  mediator().GetStatistics(&statistics);
  return statistics;
}

IDictionary& WorkflowHost::dictionary() const { return parts_->objects.dictionary(); }
IWorkFlowEngine& WorkflowHost::engine() const { return parts_->objects.engine(); }
ISignalMediator& WorkflowHost::mediator() const { return parts_->objects.mediator(); }

WorkflowHost::OwnedDictionary WorkflowHost::MakeDictionary() const { return parts_->MakeDictionary(); }

}  // namespace OrvWorkFlow::Host
