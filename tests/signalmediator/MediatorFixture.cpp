#include "tests/signalmediator/MediatorFixture.h"

#include <string_view>

namespace orv_test {

using OrvWorkFlow::IOrvPString;
using OrvWorkFlow::IOrvPStringList;
using OrvWorkFlow::WorkFlowFactory;
using OrvWorkFlow::Core::AssignTexts;
using OrvWorkFlow::Core::Marshalled;
using OrvWorkFlow::Core::ReadTexts;

namespace {

const WorkFlowFactory alpha(ScriptedCreator::ForWorkNodes("Alpha"));
const WorkFlowFactory beta(ScriptedCreator::ForWorkNodes("Beta"));
const WorkFlowFactory absorbing(ScriptedCreator::ForWorkNodes("AbsorbWorkflow"));
const WorkFlowFactory helper(ScriptedCreator::ForUtilityObjects("Helper"));
const WorkFlowFactory other(ScriptedCreator::ForUtilityObjects("Other"));

}  // namespace

bool ManualHost::RunOnGuiThread(OrvWorkFlow::IHostAppGuiThreadCallback* callback,
                                OrvWorkFlow::InputSignalMessage* message) {
  if (on_run) return on_run({callback, message});
  const std::scoped_lock lock(mutex_);
  queue_.push_back({callback, message});
  return true;
}

bool ManualHost::DeliverOne() {
  Call call;
  {
    const std::scoped_lock lock(mutex_);
    if (queue_.empty()) return false;
    call = queue_.front();
    queue_.erase(queue_.begin());
  }
  call.callback->DeliverInputSignal(call.message);
  return true;
}

void ManualHost::Drop() {
  const std::scoped_lock lock(mutex_);
  queue_.clear();
}

std::size_t ManualHost::GetQueued() const {
  const std::scoped_lock lock(mutex_);
  return queue_.size();
}

MediatorTest::MediatorTest() {
  dictionary_ = new OrvWorkFlow::Core::Dictionary::CDictionary;
  store_ = new OrvWorkFlow::Core::UtilityStore::CUtilityStore;
  Globalise("Dictionary", dictionary_);
  Globalise("Logger", &logger_);
  IBaseWorkFlowObject* object = OrvWorkFlow::Core::Mediator::CSignalMediatorObjectCreator().Create();
  mediator_ = static_cast<OrvWorkFlow::ISignalMediator*>(object->QueryInterface("ISignalMediator"));
  mediator_->SetUtilityStore(store_);
}

MediatorTest::~MediatorTest() {
  ReleaseMediator();
  ExpectBoxes({});
  WorkFlowFactory::ReleaseGlobalObjects();
  dictionary_->Release();
  store_->Release();
}

void MediatorTest::Globalise(const char* name, IBaseWorkFlowObject* object) {
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject(name, object, false));
}

void MediatorTest::RemoveGlobals() { WorkFlowFactory::ReleaseGlobalObjects(); }

void MediatorTest::ReleaseMediator() {
  if (mediator_ != nullptr) mediator_->Release();
  mediator_ = nullptr;
}

void MediatorTest::SetText(const std::string& path, const std::string& value) {
  ASSERT_TRUE(dictionary_->SetValue(path.c_str(), value.c_str())) << path;
}

std::string MediatorTest::GetText(const std::string& path) {
  const Marshalled<IOrvPString> text;
  return dictionary_->GetValue(path.c_str(), text.get()) ? text.get()->GetText() : "(none)";
}

void MediatorTest::SetTexts(const std::string& path, const std::vector<std::string>& values) {
  const Marshalled<IOrvPStringList> list;
  ASSERT_TRUE(AssignTexts(list.get(), values));
  ASSERT_TRUE(dictionary_->SetValue(path.c_str(), static_cast<const IOrvPStringList*>(list.get()))) << path;
}

std::vector<std::string> MediatorTest::GetTexts(const std::string& path) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> texts;
  if (!dictionary_->GetValue(path.c_str(), list.get()) || !ReadTexts(list.get(), texts)) return {"(none)"};
  return texts;
}

std::vector<std::string> MediatorTest::GetNames(const std::string& path) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> names;
  if (!dictionary_->GetEntries(path.c_str(), list.get()) || !ReadTexts(list.get(), names)) return {"(none)"};
  return names;
}

void MediatorTest::DefineType(const std::string& type, const std::string& library) {
  SetText("/WorkFlowEngine/WorkNodes/" + type + "/Binaries/win32_bin", library);
}

void MediatorTest::DefineNode(const std::string& type, const std::string& instance) {
  DefineType(type);
  SetText(DefinitionOf(type, instance) + "/wfName", "Flow");
}

OrvWorkFlow::ISignalMediator::Statistics MediatorTest::GetStatistics() {
  OrvWorkFlow::ISignalMediator::Statistics statistics;
  EXPECT_TRUE(mediator_->GetStatistics(&statistics));
  return statistics;
}

void MediatorTest::ExpectBoxes(const std::vector<std::string>& texts) {
  std::vector<std::string> shown;
  for (const RecordedBox& box : boxes_.GetBoxes()) {
    EXPECT_EQ(box.caption, "Workflowengine");
    constexpr std::size_t kStops = 140;
    ASSERT_GE(box.text.size(), kStops);
    const std::size_t length = box.text.size() - kStops;
    EXPECT_EQ(box.text.substr(length), std::string(kStops, '.'));
    shown.push_back(box.text.substr(0, length));
  }
  EXPECT_EQ(shown, texts);
  boxes_.Clear();
}

std::vector<std::string> MediatorTest::TakeTrace() {
  std::vector<std::string> trace = logger_.GetTrace();
  logger_.Clear();
  return trace;
}

std::vector<std::string> MediatorTest::TakeJournal() {
  std::vector<std::string> journal = stage_.GetJournal();
  stage_.ClearJournal();
  return journal;
}

}  // namespace orv_test
