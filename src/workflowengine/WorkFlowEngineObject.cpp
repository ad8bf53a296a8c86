#include "workflowengine/WorkFlowEngineObject.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "CoreObjects/ErrorBox.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "workflowengine/EngineMessages.h"
#include "workflowengine/Pump.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

bool AnyNull(std::initializer_list<const char*> texts) {
  return std::any_of(texts.begin(), texts.end(), [](const char* text) { return text == nullptr; });
}

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

CWorkFlowEngine::CWorkFlowEngine() : core_(std::make_shared<EngineCore>()) { ++live_count_; }

CWorkFlowEngine::~CWorkFlowEngine() {
  try {
    core_->Finish();
  } catch (...) {  // A thread object that cannot be told to stop; the pump keeps what it needs.
  }
  --live_count_;
}

void* CWorkFlowEngine::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kWorkFlowEngine) != 0) return nullptr;
  return static_cast<IWorkFlowEngine*>(this);
}

bool CWorkFlowEngine::SetUtilityStore(IUtilityStore* store) {
  if (store == nullptr) return Fail(EngineErrors::kInvalidParameter);
  if (!Others().SetStore(store)) return Fail(EngineErrors::kSecondStore);
  Others().FindLogger();
  return true;
}

bool CWorkFlowEngine::GetNeededGlobalUtilityObjects(IOrvPStringList* names) {
  return AssignTexts(names, std::initializer_list<std::string_view>{ObjectNames::kSignalMediator});
}

bool CWorkFlowEngine::GetNeededLocalUtilityObjects(IOrvPStringList* names) {
  return AssignTexts(names,
                     std::initializer_list<std::string_view>{ObjectNames::kDictionary, ObjectNames::kFileSystem});
}

void CWorkFlowEngine::SetEncryptionKey(const char* key) { Others().SetKey(key); }

bool CWorkFlowEngine::AddSignalMapping(const char* sender_type, const char* sender_instance,
                                       const char* outgoing_signal, const char* /*ignored_1*/,
                                       const char* /*ignored_2*/, const char* receiver_type,
                                       const char* receiver_instance, const char* incoming_signal) {
  if (AnyNull({sender_type, sender_instance, outgoing_signal, receiver_type, receiver_instance, incoming_signal})) {
    return false;
  }
  return Base::Guarded([&] {
    return mapping_adder_.Add({sender_type, sender_instance, outgoing_signal},
                              {receiver_type, receiver_instance, incoming_signal});
  });
}

bool CWorkFlowEngine::RemoveSignalMapping(const char* sender_type, const char* sender_instance,
                                          const char* outgoing_signal, const char* /*ignored_1*/,
                                          const char* /*ignored_2*/, const char* receiver_type,
                                          const char* receiver_instance, const char* incoming_signal) {
  if (AnyNull({sender_type, sender_instance, outgoing_signal, receiver_type, receiver_instance, incoming_signal})) {
    return false;
  }
  return Base::Guarded([&] {
    IDictionary* dictionary = Collaborators::Dictionary();
    return dictionary != nullptr && RemoveMapping(*dictionary, {sender_type, sender_instance, outgoing_signal},
                                                  {receiver_type, receiver_instance, incoming_signal});
  });
}

bool CWorkFlowEngine::GetSignalMappings(const char* /*sender_type*/, const char* /*sender_instance*/,
                                        const char* /*outgoing_signal*/, IOrvPStringList* /*mappings*/) {
  ShowErrorBox(EngineBoxes::kNoGetSignalMappings, kEngineBoxStops);
  return false;
}

bool CWorkFlowEngine::RemoveAllSignalMappings() {
  return Base::Guarded([&] {
    if (IDictionary* dictionary = Collaborators::Dictionary()) RemoveAllMappings(*dictionary);
    return true;
  });
}

bool CWorkFlowEngine::OutputSignal(const char* sender_type, const char* sender_instance, const char* outgoing_signal) {
  if (sender_type == nullptr || sender_instance == nullptr || outgoing_signal == nullptr) return false;
  return Base::Guarded([&] {
    Others().FindLogger();
    return core_->OutputSignal({sender_type, sender_instance, outgoing_signal});
  });
}

bool CWorkFlowEngine::SetStartSignal(const char* receiver_type, const char* receiver_instance,
                                     const char* incoming_signal) {
  return Base::Guarded([&] {
    StartSignal signal{OrEmpty(receiver_type), OrEmpty(receiver_instance), OrEmpty(incoming_signal)};
    const Base::Hold lock(texts_mutex_);
    start_signal_ = std::move(signal);
    return true;
  });
}

bool CWorkFlowEngine::StartFlowing() {
  return Base::Guarded([&] {
    Others().FindLogger();
    if (ISignalMediator* mediator = Others().Mediator()) mediator->FireRebootSignals();
    PrepareQueue();
    return EngineCore::Start(core_, &MainWorkFlowProc, [this] {
      const std::string marker = InWriteDirectory(kMarkerFile);
      IFileSystemA* file_system = Others().FileSystem();
      if (!marker.empty() && file_system != nullptr) file_system->MakeFile(marker.c_str());
    });
  });
}

// Queues the start signal, once for each time that it was set.
void CWorkFlowEngine::PrepareQueue() {
  const EngineLock lock = core_->Lock();
  core_->MapInbox(lock);
  core_->ForgetMappings(lock);
  const Base::Hold texts(texts_mutex_);
  if (start_signal_.type.empty()) return;
  core_->Append(lock, QueueEntry({"", "", "", start_signal_.type, start_signal_.instance, start_signal_.signal}));
  start_signal_.type.clear();
  if (core_->Running()) core_->Post(kSignalReceivedEvent);  // Started a second time: the pump would not look.
}

bool CWorkFlowEngine::StopFlowing() {
  try {
    Others().FindLogger();
    core_->Stop();
    if (ISignalMediator* mediator = Others().Mediator()) mediator->StopAllWorkNodes();
  } catch (...) {
    ShowErrorBox(EngineBoxes::kStopThrew, kEngineBoxStops);
  }
  return true;
}

bool CWorkFlowEngine::DeleteTemporaryData() {
  return Base::Guarded([&] {
    ISignalMediator* mediator = Others().Mediator();
    return mediator != nullptr && mediator->DeleteTemporaryData();
  });
}

bool CWorkFlowEngine::GetWorkFlowFilePath(const char* workflow_name, IOrvPString* path) {
  if (workflow_name == nullptr || path == nullptr) return false;
  return Base::Guarded([&] {
    std::string platform_path;
    return flow_paths_.Find(workflow_name, platform_path) && AssignText(path, platform_path);
  });
}

bool CWorkFlowEngine::SetWorkFlowFilePath(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  return Base::Guarded([&] { return flow_paths_.SetDefinition(path, Others().FileSystem()); });
}

bool CWorkFlowEngine::SetRunObserver(IRunObserver* observer) {
  // The host's mutex failed.
  return Base::Guarded([&] {
    const EngineLock lock = core_->Lock();
    core_->SetObserver(lock, observer);
    return true;
  });
}

bool CWorkFlowEngine::SetHandOverLimit(std::uint32_t limit) {
  core_->OfHost()->SetLimit(limit);
  try {
    core_->Post(kSignalReceivedEvent);  // A pump that waits for room may have it now.
  } catch (...) {                       // The end of a delivery wakes it.
  }
  return true;
}

bool CWorkFlowEngine::SetHandOverQuota(std::uint32_t signals) {
  static_assert(kAnyNumber == HandOvers::kNoQuota);
  core_->OfHost()->SetQuota(signals);
  try {
    core_->Post(kSignalReceivedEvent);
  } catch (...) {  // The next signal wakes it.
  }
  return true;
}

bool CWorkFlowEngine::QueueInputSignal(const char* receiver_type, const char* receiver_instance,
                                       const char* incoming_signal) {
  if (AnyNull({receiver_type, receiver_instance, incoming_signal})) return false;
  return Base::Guarded([&] {
    core_->Queue(QueueEntry({"", "", "", receiver_type, receiver_instance, incoming_signal}));
    return true;
  });
}

bool CWorkFlowEngine::ReportQueue(IRunReport* report, std::uint32_t most) {
  if (report == nullptr) return false;
  return Base::Guarded([&] { return core_->Report(*report, most); });
}

bool CWorkFlowEngine::GetQueueState(QueueState* state) {
  if (state == nullptr) return false;
  const std::uint32_t load = core_->Load();
  *state = {load / EngineCore::kOneWaiting, (load & EngineCore::kFiring) != 0, core_->Running()};
  return true;
}

}  // namespace OrvWorkFlow::Core::Engine
