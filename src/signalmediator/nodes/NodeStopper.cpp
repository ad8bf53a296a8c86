#include "signalmediator/nodes/NodeStopper.h"

#include <utility>

#include "CoreObjects/Format.h"
#include "OrvWorkFlow/OrvBase.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

constexpr unsigned kPauseMilliseconds = 100;

// A text that names a node, cut to the limit of the stop's texts.
std::string StopText(const char* format, const std::string& type, const std::string& instance) {
  std::string text = Format(format, type.c_str(), instance.c_str());
  if (text.size() > kStopTextLimit) text.resize(kStopTextLimit);
  return text;
}

// No limit: a host that never delivers what it has queued keeps the stop waiting. The lock is free during the pauses,
// so that deliveries can begin.
void WaitUntilAllIsReceived(MediatorContext& context) {
  context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kAboutToStop);
  { const AccessLock::Hold hold(context.access_lock); }
  context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kPassedFirstStop);
  bool all_received = false;
  while (!all_received) {
    {
      const AccessLock::Hold hold(context.access_lock);
      context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kComparing);
      all_received = context.counts.sent <= context.counts.received;
    }
    OrvBase::SleepMilliseconds(kPauseMilliseconds);
  }
  OrvBase::SleepMilliseconds(kPauseMilliseconds);
}

void StopNode(MediatorContext& context, const WorkNodeEntry& entry) {
  constexpr const char* kCategory = MediatorCategories::kStopAllWorkNodes;
  IWorkNode& node = *entry.node;
  std::string type;
  std::string instance;
  AskNames(node, type, instance);
  if (context.tracer)
    context.tracer.LogText(kCategory, Format(MediatorLines::kCallingStopWork, type.c_str(), instance.c_str()));
  const bool was_working = node.StopWork();
  if (context.tracer) {
    const char* text = was_working ? MediatorLines::kStopWorkTrue : MediatorLines::kStopWorkFalse;
    context.tracer.LogText(kCategory, StopText(text, type, instance));
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
  if (!is_known) context.TellLost({});
  context.reboot_signals.Append(std::move(record));
}

}  // namespace

void StopAllNodes(MediatorContext& context) {
  context.reboot_signals.Clear();
  WaitUntilAllIsReceived(context);
  context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kWaitingForThirdLock);
  const AccessLock::Hold hold(context.access_lock);
  context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kPassedThirdLock);
  try {
    for (const WorkNodePointer& entry : context.nodes.Copy()) StopNode(context, *entry);
  } catch (...) {
    context.TellLost({});
    ShowMediatorText(MediatorBoxes::kStopThrew);
  }
  context.tracer.Log(MediatorCategories::kStopAllWorkNodes, MediatorLines::kAllStopped);
}

}  // namespace OrvWorkFlow::Core::Mediator
