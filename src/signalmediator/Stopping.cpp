// Stopping: wait until all that was sent has been received, then ask every node to stop and note how it wants to go on.
#include <utility>

#include "CoreObjects/Format.h"
#include "OrvWorkFlow/OrvBase.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

constexpr unsigned kPauseMilliseconds = 100;

// A text that names a node, cut to the limit of the stop's texts.
std::string StopText(const char* format, const std::string& type, const std::string& instance) {
  std::string text = Format(format, type.c_str(), instance.c_str());
  if (text.size() > kStopTextLimit) text.resize(kStopTextLimit);
  return text;
}

}  // namespace

bool CSignalMediator::StopAllWorkNodes() {
  try {
    reboot_signals_.Clear();
    WaitUntilAllIsReceived();
    tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kWaitingForThirdLock);
    const AccessLock::Hold hold(access_lock_);
    tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kPassedThirdLock);
    try {
      for (const WorkNodePointer& entry : nodes_.Copy()) StopNode(*entry);
    } catch (...) {
      TellLost({});
      ShowMediatorText(MediatorBoxes::kStopThrew);
    }
    tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kAllStopped);
  } catch (...) {  // The host's lock failed; the stop is over.
  }
  return true;
}

// No limit: a host that never delivers what it has queued keeps the stop waiting. The lock is free during the pauses,
// so that deliveries can begin.
void CSignalMediator::WaitUntilAllIsReceived() {
  tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kAboutToStop);
  { const AccessLock::Hold hold(access_lock_); }
  tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kPassedFirstStop);
  bool all_received = false;
  while (!all_received) {
    {
      const AccessLock::Hold hold(access_lock_);
      tracer_.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kComparing);
      all_received = sent_ <= received_;
    }
    OrvBase::SleepMilliseconds(kPauseMilliseconds);
  }
  OrvBase::SleepMilliseconds(kPauseMilliseconds);
}

void CSignalMediator::StopNode(const WorkNodeEntry& entry) {
  constexpr const char* kCategory = MediatorCategories::kStopAllWorkNodes;
  IWorkNode& node = *entry.node;
  std::string type;
  std::string instance;
  AskNames(node, type, instance);
  if (tracer_) tracer_.LogText(kCategory, Format(MediatorLines::kCallingStopWork, type.c_str(), instance.c_str()));
  const bool was_working = node.StopWork();
  if (tracer_) {
    const char* text = was_working ? MediatorLines::kStopWorkTrue : MediatorLines::kStopWorkFalse;
    tracer_.LogText(kCategory, StopText(text, type, instance));
  }
  if (!was_working) return;
  RebootSignalRecord record;
  const Marshalled<IOrvPString> signal;
  try {
    if (signal) node.GetRebootSignal(signal.get());
  } catch (...) {
    ShowMediatorText(StopText(MediatorBoxes::kRebootSignalThrew, type, instance));
  }
  const bool is_known = ReadText(signal.get(), record.signal) && AskNames(node, record.type, record.instance);
  if (!is_known) TellLost({});
  reboot_signals_.Append(std::move(record));
}

}  // namespace OrvWorkFlow::Core::Mediator
