#include "OrvWorkFlow/sdk/NodeBench.h"

#include <atomic>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk {

namespace {

constexpr char kLibrary[] = "CoreObjects";
// What the utility store makes afresh for each asker.
constexpr const char* kStoreObjects[] = {ObjectNames::kDictionary, ObjectNames::kEncryption, ObjectNames::kFileSystem,
                                         ObjectNames::kRegExp};

std::atomic<bool> is_in_use = false;

[[noreturn]] void Fail(const std::string& problem) { throw std::runtime_error("the bench: " + problem); }

void LoadLibrary(const std::string& library) {
  if (!WorkFlowFactory::LoadSharedLibrary(library.c_str())) Fail(WorkFlowFactory::LastLoadError());
}

std::string InstancePath(const std::string& type, const std::string& instance) {
  return std::string(WorkflowSchema::kWorkNodes) + "/" + type + WorkflowSchema::kInstances + "/" + instance;
}

// With one "/" in front of each component, as the dictionary lists it.
std::string PlainPath(const std::string& path) {
  std::string plain;
  const std::string text = "/" + path;
  for (const char c : text) {
    if (c != '/' || plain.empty() || plain.back() != '/') plain += c;
  }
  return plain.ends_with('/') ? plain.substr(0, plain.size() - 1) : plain;
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != &texts.front()) joined += ',';
    joined += text;
  }
  return joined;
}

}  // namespace

bool NodeBench::Recorder::Signal(IWorkNode* /*node*/, const char* signal_name) {
  const std::lock_guard<std::mutex> hold(mutex);
  texts.emplace_back(signal_name);
  return true;
}

void NodeBench::KeepMessage(const char* text, const char* caption, void* recorder) {
  auto& messages = *static_cast<Recorder*>(recorder);
  try {
    const std::lock_guard<std::mutex> hold(messages.mutex);
    messages.texts.push_back(std::string(caption) + ": " + text);
  } catch (...) {  // A box says nothing more than that, and must not throw.
  }
}

std::vector<std::string> NodeBench::Take(Recorder& recorder) {
  const std::lock_guard<std::mutex> hold(recorder.mutex);
  return std::exchange(recorder.texts, {});
}

NodeBench::NodeBench(const std::string& plugin, const std::string& type, const std::string& instance)
    : type_(type), instance_(instance) {
  if (is_in_use.exchange(true)) Fail("there is another one; one at a time");
  route_before_ = SetMessageBoxRoute({KeepMessage, &messages_});
  try {
    LoadLibrary(kLibrary);
    MakeGlobals();
    if (!plugin.empty()) LoadLibrary(plugin);
    if (!WorkFlowFactory::IsWorkNodePresent(type.c_str())) Fail("no library has registered the type " + type);
  } catch (...) {
    TakeDown();
    throw;
  }
}

NodeBench::~NodeBench() { TakeDown(); }

void NodeBench::TakeDown() {
  node_.reset();
  WorkFlowFactory::ReleaseGlobalObjects();
  store_.reset();
  creators_.clear();
  WorkFlowFactory::UnloadSharedLibraries();
  SetMessageBoxRoute(route_before_);
  is_in_use = false;
}

void NodeBench::MakeGlobals() {
  for (const char* name : {ObjectNames::kDictionary, ObjectNames::kFileSystem}) {
    if (WorkFlowFactory::CreateNewGlobalObject(name) == nullptr) Fail(std::string("there is no ") + name);
  }
  dictionary_ = FindGlobal<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary);
  MakeStore();
  for (const char* name : {ObjectNames::kDictionary, ObjectNames::kFileSystem}) {
    WorkFlowFactory::GetGlobalObj(name)->SetUtilityStore(store_.get());
  }
}

void NodeBench::MakeStore() {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kUtilityStore);
  if (object == nullptr) Fail("there is no utility store");
  store_.reset(static_cast<IUtilityStore*>(object->QueryInterface(InterfaceNames::kUtilityStore)));
  for (const char* name : kStoreObjects) {
    creators_.emplace_back(WorkFlowFactory::CloneCreator(name));
    store_->AddUtilityObjectCreator(creators_.back().get());
  }
}

// Configured as in a workflow that gives it no directories and no key.
void NodeBench::MakeNode() {
  node_.reset(WorkFlowFactory::CreateNewWorkNode(type_.c_str(), instance_.c_str()));
  if (node_ == nullptr) Fail(type_ + " refuses the instance " + instance_);
  node_->SetOutgoingSignalHandler(&fired_);
  node_->SetUtilityStore(store_.get());
  const std::string file = TextAt(InstancePath(type_, instance_) + WorkflowSchema::kConfigFile);
  if (file.empty() || node_->LoadState(file.c_str())) return;
  node_.reset();
  Fail(type_ + " cannot load its ConfigFile " + file);
}

std::string NodeBench::ParameterPath(const std::string& name) const {
  return InstancePath(type_, instance_) + "/Parameters/" + name;
}

void NodeBench::SetParameter(const std::string& name, const char* value) { Set(ParameterPath(name), value); }
void NodeBench::SetParameter(const std::string& name, bool value) { Set(ParameterPath(name), value); }
void NodeBench::SetParameter(const std::string& name, std::int32_t value) { Set(ParameterPath(name), value); }

void NodeBench::Set(const std::string& path, const char* value) {
  Expect(path, dictionary_->SetValue(path.c_str(), value));
}
void NodeBench::Set(const std::string& path, bool value) { Expect(path, dictionary_->SetValue(path.c_str(), value)); }
void NodeBench::Set(const std::string& path, std::int32_t value) {
  Expect(path, dictionary_->SetValue(path.c_str(), value));
}

void NodeBench::Expect(const std::string& path, bool is_set) {
  if (!is_set) Fail("nothing can be stored at " + path);
  const std::string plain = PlainPath(path);
  seen_[plain] = EntryAt(plain);
}

bool NodeBench::Signal(const std::string& signal) {
  if (node_ == nullptr) MakeNode();
  return node_->Signal(signal.c_str());
}

bool NodeBench::WaitUntilIdle(std::chrono::milliseconds limit) {
  const auto is_busy = [this] {
    return node_ != nullptr && TextFrom([&](IOrvPString* text) { return node_->GetProperty("Busy", text); }) == "yes";
  };
  const auto end = std::chrono::steady_clock::now() + limit;
  while (is_busy()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

std::string NodeBench::SaveState() {
  if (node_ != nullptr) node_->SaveState(nullptr);
  dictionary_->Clear(WorkflowSchema::kNameValuePairs);
  const TextHolder state;
  if (!dictionary_->SaveToText(state.get())) Fail("the dictionary cannot be saved");
  return state.Text();
}

void NodeBench::Restore(const std::string& state) {
  node_.reset();
  if (!dictionary_->LoadFromText(state.data(), state.size())) Fail("the state cannot be read");
}

void NodeBench::Kill(const std::string& state) { Restore(state.empty() ? SaveState() : state); }

std::string NodeBench::Stop() {
  if (node_ == nullptr) return {};
  std::string reboot_signal;
  if (node_->StopWork()) {
    reboot_signal = TextFrom([&](IOrvPString* text) { return node_->GetRebootSignal(text); });
    if (reboot_signal.empty()) Fail(type_ + " was at work, and has no reboot signal");
  }
  Restore(SaveState());
  return reboot_signal;
}

std::vector<std::string> NodeBench::TakeFired() { return Take(fired_); }
std::vector<std::string> NodeBench::TakeMessages() { return Take(messages_); }

std::vector<std::string> NodeBench::TakeWritten() {
  std::vector<std::string> written;
  Entries now = AllEntries();
  for (const auto& [path, entry] : now) {
    const auto before = seen_.find(path);
    if (before == seen_.end() || before->second != entry) written.push_back(path + entry);
  }
  for (const auto& [path, entry] : seen_) {
    if (!now.contains(path)) written.push_back(path + " removed");
  }
  seen_ = std::move(now);
  return written;
}

NodeBench::Entries NodeBench::AllEntries() const {
  const TextListHolder paths;
  if (!dictionary_->EnumeratePaths("", paths.get())) Fail("the dictionary cannot be read");
  Entries entries;
  for (const std::string& path : paths.Texts()) {
    std::string entry = EntryAt(path);
    if (!entry.empty()) entries.emplace(path, std::move(entry));
  }
  return entries;
}

// ":TAG=VALUE"; "" for an entry without a value.
std::string NodeBench::EntryAt(const std::string& path) const {
  if (dictionary_->GetValueType(path.c_str()) == ValueType::Nil) return {};
  const std::string tag =
      TextFrom([&](IOrvPString* text) { return dictionary_->GetAttribute(path.c_str(), "__type", text); });
  return ":" + tag + "=" + TextAt(path);
}

std::string NodeBench::TextAt(const std::string& path) const {
  const TextListHolder texts;
  return dictionary_->GetValueTexts(path.c_str(), texts.get()) ? Joined(texts.Texts()) : std::string();
}

}  // namespace OrvWorkFlow::Sdk
