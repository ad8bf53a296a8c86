// Taking a further workflow into the running one.
#include <chrono>
#include <new>
#include <thread>

#include "CoreObjects/Marshalled.h"
#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/IComponentFinder.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "workflowengine/AbsorbTree.h"
#include "workflowengine/EngineMessages.h"
#include "workflowengine/Entries.h"
#include "workflowengine/WorkFlowEngineObject.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

constexpr char kFinderType[] = "FindNewComponentsFromAbsorbedFlow";
constexpr char kFinderLibrary[] = "/workflow/bin/Component.DDR.dll";
constexpr int kLoadAttempts = 20;
constexpr std::chrono::milliseconds kLoadPause(10);

// What it finds is not used: the node itself acts on it. Nothing that goes wrong here concerns the workflow.
void FindNewComponentsFromAbsorbedFlow(const std::string& path) noexcept {
  try {
    if (!WorkFlowFactory::IsWorkNodePresent(kFinderType)) WorkFlowFactory::LoadSharedLibrary(kFinderLibrary);
    IWorkNode* const node = WorkFlowFactory::CreateNewWorkNode(kFinderType, nullptr);
    if (node == nullptr) return;
    const Found<IWorkNode> owner(node, node);
    const Marshalled<IOrvPStringList> components;
    void* const finder = node->QueryInterface(InterfaceNames::kComponentFinder);
    if (finder == nullptr || !components) return;
    static_cast<IComponentFinder*>(finder)->FindNewComponents(path.c_str(), components.get());
  } catch (...) {
  }
}

// The workflows of the nodes that absorb, in the order in which the nodes were made.
std::vector<std::string> AbsorbingWorkFlows(IDictionary& dictionary, ISignalMediator& mediator) {
  std::vector<std::string> definitions;
  const Marshalled<IOrvPStringList> list;
  if (!list || !mediator.GetInstantiatedWorknodesThatCallAbsorb(list.get()) || !ReadTexts(list.get(), definitions)) {
    throw std::bad_alloc();
  }
  for (std::string& text : definitions) {
    text += WorkflowSchema::kInstanceWorkFlowName;
    text = ReadString(dictionary, text);
  }
  return definitions;
}

}  // namespace

bool CWorkFlowEngine::AbsorbFlow(const char* file_path, bool queue_start_signal) {
  if (file_path == nullptr || *file_path == '\0') return Fail(EngineErrors::kInvalidParameter);
  try {
    Others().FindLogger();
    ISignalMediator* mediator = Others().Mediator();
    if (mediator == nullptr) return Fail(EngineErrors::kNoMediator);
    IDictionary* global = Collaborators::Dictionary();
    // Each absorb has a dictionary of its own: one may lead to another, and several threads may absorb at once.
    const Found<IDictionary> flow = global != nullptr ? Others().MakeDictionary(global) : Found<IDictionary>();
    if (!flow) return Fail(EngineErrors::kNoDictionary);
    if (!Others().GiveKey(*flow.get())) return Fail(EngineErrors::kKeyLost);
    if (!LoadDefinition(*flow.get(), file_path)) return Fail(EngineErrors::kNotAbsorbed);
    const FlowRecord record{ReadString(*flow.get(), WorkflowSchema::kWorkFlowName), file_path};
    if (record.name.empty() || !TakeIn(*flow.get(), *mediator, record)) return Fail(EngineErrors::kNotAbsorbed);
    UpdateAbsorbTree(*global, *mediator, record.name);
    if (queue_start_signal) QueueStartSignalOf(*flow.get());
    return true;
  } catch (...) {
    return false;
  }
}

// Files are opened without sharing: a load is refused while somebody else, such as the component finder on another
// thread, has the file open. What could not be opened leaves the dictionary empty.
bool CWorkFlowEngine::LoadDefinition(IDictionary& flow, const char* file_path) {
  for (int attempt = 1;; ++attempt) {
    {
      const std::scoped_lock lock(definition_mutex_);
      if (flow.LoadFile(file_path)) return true;
    }
    if (attempt == kLoadAttempts || flow.Exists("/")) return false;
    std::this_thread::sleep_for(kLoadPause);
  }
}

// A thread that holds the mediator's lock cannot wait for another one that absorbs the same workflow, which may need
// that lock: both then do it, and the second finds everything there.
bool CWorkFlowEngine::TakeIn(IDictionary& flow, ISignalMediator& mediator, const FlowRecord& record) {
  const AbsorbTurns::Turn turn = absorb_turns_.Begin(record.name, MediatorLockDepth() == 0);
  if (turn.kind() == AbsorbTurns::Kind::Within) return true;
  const bool is_new = flow_paths_.Add(record, Others().FileSystem());
  if (!is_new && turn.kind() == AbsorbTurns::Kind::Alone) return true;
  if (is_new) {
    core_->Log(EngineCategories::kFireAllReadySignals, EngineLines::kAbsorbing, record.name.c_str(),
               record.file_path.c_str());
  }
  bool absorbed = false;
  try {
    absorbed = mediator.Absorb(&flow);
  } catch (...) {  // Like a refusal.
  }
  if (!absorbed) {
    if (is_new) flow_paths_.Remove(record.name);
    return false;
  }
  if (is_new) {
    core_->Events().Absorbed(record.name.c_str(), record.file_path.c_str());
    FindNewComponentsFromAbsorbedFlow(record.file_path);
  }
  return true;
}

void CWorkFlowEngine::UpdateAbsorbTree(IDictionary& dictionary, ISignalMediator& mediator, const std::string& name) {
  const std::vector<std::string> absorbers = AbsorbingWorkFlows(dictionary, mediator);
  const std::scoped_lock lock(absorb_tree_mutex_);
  if (absorb_tree_.Put(name, absorbers) == TreeChange::Moved) {
    core_->Log(EngineCategories::kUpdateAbsorbTree, EngineLines::kMovingNode);
  }
}

void CWorkFlowEngine::QueueStartSignalOf(IDictionary& flow) {
  const StartSignal signal = ReadStartSignal(flow);
  if (!signal.type.empty()) core_->Queue(QueueEntry({"", "", "", signal.type, signal.instance, signal.signal}));
}

}  // namespace OrvWorkFlow::Core::Engine
