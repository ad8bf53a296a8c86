// The order of the operations in every interface's table. A host or plug-in built separately calls by place, so moving
// one breaks it: new operations go to the end.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "OrvWorkFlow/IComponentFinder.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IEncryption.h"
#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/IRegExp.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "OrvWorkFlow/OrvBase.h"
#include "tests/library/RawTable.h"

namespace OrvWorkFlow {
namespace {

using orv_test::SlotOf;

// Collects the places of an interface's operations in the order in which they are named here.
class SlotList {
 public:
  template <class Member>
  SlotList& operator()(Member member) {
    slots_.push_back(SlotOf(member));
    return *this;
  }
  std::size_t Count() const { return slots_.size(); }
  // Expects the places to be first, first + 1, and so on.
  void ExpectConsecutiveFrom(std::size_t first) const {
    for (std::size_t i = 0; i < slots_.size(); ++i) EXPECT_EQ(slots_[i], first + i) << "operation number " << i;
  }

 private:
  std::vector<std::size_t> slots_;
};

constexpr std::size_t kBaseOperations = 16;

TEST(SlotOrderTest, FactoryObjectCreator) {
  using I = IFactoryObjectCreator;
  SlotList() (&I::GetObjectName) (&I::GetVersion) (&I::Create) (&I::CreatesWorkNodes) (&I::Clone)(&I::Destroy)
      .ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, BaseProtocol) {
  using I = IBaseWorkFlowObject;
  SlotList() (&I::QueryInterface) (&I::GetVersion) (&I::GetLastErrorText) (&I::ResetContentDirectories) (
      &I::AddContentDirectory) (&I::SetWriteDirectory) (&I::LoadState) (&I::ReservedLoad) (&I::SaveState) (
      &I::ReservedSave) (&I::SetEncryptionKey) (&I::GetTypeName) (&I::SetUtilityStore) (
      &I::GetNeededGlobalUtilityObjects) (&I::GetNeededLocalUtilityObjects)(&I::Release)
      .ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, UtilityStore) {
  using I = IUtilityStore;
  SlotList() (&I::GetUtilityObject) (&I::IsUtilityObjectPresent) (&I::AddUtilityObject) (&I::AddUtilityObjectCreator) (
      &I::IsUtilityObjectHeld)(&I::GetUtilityObjectNames)
      .ExpectConsecutiveFrom(kBaseOperations);
}

template <class Value>
auto SetterOf() {
  return static_cast<bool (IDictionary::*)(const char*, Value)>(&IDictionary::SetValue);
}
template <class Value>
auto GetterOf() {
  return static_cast<bool (IDictionary::*)(const char*, Value*)>(&IDictionary::GetValue);
}

TEST(SlotOrderTest, Dictionary) {
  using I = IDictionary;
  SlotList()(SetterOf<const IOrvStringList*>())(SetterOf<const char16_t*>())(SetterOf<bool>())(
      SetterOf<const IOrvBoolList*>())(SetterOf<const IOrvDoubleList*>())(SetterOf<const IOrvIntList*>())(
      SetterOf<const IOrvPStringList*>())(SetterOf<const char*>())(SetterOf<double>())(SetterOf<std::int32_t>())(
      GetterOf<IOrvStringList>())(GetterOf<IOrvString>())(GetterOf<bool>())(GetterOf<IOrvBoolList>())(
      GetterOf<IOrvDoubleList>())(GetterOf<IOrvIntList>())(GetterOf<IOrvPStringList>())(GetterOf<IOrvPString>())(
      GetterOf<double>())(GetterOf<std::int32_t>()) (&I::HasAttribute) (&I::GetAttribute) (&I::SetAttribute) (
      &I::GetValueType) (&I::Exists) (&I::Delete) (&I::GetEntries) (&I::LoadFile) (&I::SaveFile) (&I::LoadFromText) (
      &I::SaveToText) (&I::EnumeratePaths)(&I::GetChangeCount)
      .ExpectConsecutiveFrom(kBaseOperations);
}

// Each face has a whole table of its own, base protocol first. The wide one has two more operations.
template <class I>
void ExpectFileSystemOrder() {
  constexpr bool kWide = std::is_same_v<I, IFileSystemW>;
  SlotList slots;
  slots (&I::QueryInterface) (&I::GetVersion) (&I::GetLastErrorText) (&I::ResetContentDirectories) (
      &I::AddContentDirectory) (&I::SetWriteDirectory) (&I::LoadState) (&I::ReservedLoad) (&I::SaveState) (
      &I::ReservedSave) (&I::SetEncryptionKey) (&I::GetTypeName) (&I::SetUtilityStore) (
      &I::GetNeededGlobalUtilityObjects) (&I::GetNeededLocalUtilityObjects)(&I::Release);
  slots (&I::WorkflowPathToPlatformPath) (&I::WorkflowPathToPlatformPathString) (&I::MakeDirectory) (
      &I::DeleteDirectoryAsync) (&I::DeleteDirectory) (&I::ListFilesAsync) (&I::ListFiles) (&I::ListDirectoriesAsync) (
      &I::ListDirectories) (&I::CopyOneFileAsync) (&I::CopyOneFile) (&I::CopyDirectoryAsync) (&I::CopyDirectory) (
      &I::FileExists) (&I::DirectoryExists) (&I::RemoveFile) (&I::FileSize) (&I::MakeFile) (&I::ReadFileRange) (
      &I::ReadFileToString)(&I::ReadFileToStream);
  if constexpr (kWide) slots(&I::ReadFileToWideString);
  slots (&I::WriteFileBytes)(&I::WriteFileText);
  if constexpr (kWide) slots(&I::WriteFileTextUnicode);
  slots (&I::WriteFileString) (&I::AppendFileString) (&I::PrependFileString) (&I::InsertFileString) (
      &I::OverwriteFileString)(&I::DeleteFileBytes);
  EXPECT_EQ(slots.Count(), kBaseOperations + (kWide ? 31 : 29));
  slots(&I::ReplaceFileBytes).ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, FileSystemInBothWidths) {
  ExpectFileSystemOrder<IFileSystemA>();
  ExpectFileSystemOrder<IFileSystemW>();
}

template <class I>
void ExpectNotificationOrder() {
  SlotList() (&I::FileFound) (&I::DirectoryFound)(&I::Completed).ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, FileSystemNotificationInBothWidths) {
  ExpectNotificationOrder<IFileSystemNotificationA>();
  ExpectNotificationOrder<IFileSystemNotificationW>();
}

TEST(SlotOrderTest, Encryption) {
  using I = IEncryption;
  SlotList() (&I::EncryptToStream) (&I::EncryptString) (&I::DecryptStream) (&I::DecryptString) (&I::Reserved5) (
      &I::EncryptList) (&I::Reserved7) (&I::DecryptList) (&I::Base64Encode)(&I::Base64Decode)
      .ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, RegExp) {
  SlotList() (&IRegExp::MatchWide)(&IRegExp::MatchNarrow).ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, SignalMediator) {
  using I = ISignalMediator;
  SlotList() (&I::FireInputSignal) (&I::ForwardOutputSignal) (&I::StopAllWorkNodes) (&I::FireRebootSignals) (
      &I::DeleteTemporaryData) (&I::AddLocalUtilityObject) (&I::AddGlobalUtilityObject) (&I::AddWorkNode) (
      &I::AddWorkNodeInstance) (&I::DeleteAllUtilityObjectsAndWorknodesFromMemory) (&I::LoadWorkNodesNow) (&I::Absorb) (
      &I::GetInstantiatedWorknodesThatCallAbsorb)(&I::GetStatistics)
      .ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, WorkFlowEngine) {
  using I = IWorkFlowEngine;
  SlotList() (&I::AddSignalMapping) (&I::RemoveSignalMapping) (&I::GetSignalMappings) (&I::RemoveAllSignalMappings) (
      &I::OutputSignal) (&I::SetStartSignal) (&I::StartFlowing) (&I::StopFlowing) (&I::DeleteTemporaryData) (
      &I::AbsorbFlow) (&I::GetWorkFlowFilePath) (&I::GetQueueState)(&I::SetWorkFlowFilePath)
      .ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, WorkNode) {
  using I = IWorkNode;
  SlotList() (&I::GetInstanceName) (&I::Signal) (&I::StopWork) (&I::SetOutgoingSignalHandler) (&I::GetRebootSignal) (
      &I::GetProperty)(&I::Initialise)
      .ExpectConsecutiveFrom(kBaseOperations);
  SlotList()(&IOutgoingSignalHandler::Signal).ExpectConsecutiveFrom(0);
  SlotList()(&IComponentFinder::FindNewComponents).ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, HostInterfaces) {
  SlotList()(&IHostApp::RunOnGuiThread).ExpectConsecutiveFrom(kBaseOperations);
  SlotList()(&IHostAppGuiThreadCallback::DeliverInputSignal).ExpectConsecutiveFrom(0);
  SlotList() (&ILogger::SetDefaultCategory)(&ILogger::Log).ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, MarshalledTypes) {
  SlotList() (&IOrvPString::Assign) (&IOrvPString::GetText) (&IOrvPString::GetLength)(&IOrvPString::Release)
      .ExpectConsecutiveFrom(0);
  using Texts = IOrvPStringList;
  SlotList() (&Texts::GetCount) (&Texts::GetText) (&Texts::GetLength) (&Texts::Add) (&Texts::Clear)(&Texts::Release)
      .ExpectConsecutiveFrom(0);
  using Numbers = IOrvIntList;
  SlotList() (&Numbers::GetCount) (&Numbers::Get) (&Numbers::Add) (&Numbers::Clear)(&Numbers::Release)
      .ExpectConsecutiveFrom(0);
  using Stream = IOrvBasicStream;
  SlotList() (&Stream::Assign) (&Stream::Append) (&Stream::GetData) (&Stream::GetSize)(&Stream::Release)
      .ExpectConsecutiveFrom(0);
}

TEST(SlotOrderTest, BasePrimitives) {
  using Thread = OrvBase::Thread;
  SlotList() (&Thread::SetArgument) (&Thread::SetProcedure) (&Thread::Start) (&Thread::PostNamedEvent) (
      &Thread::WaitForEvent) (&Thread::IsRunning) (&Thread::GetPostCount)(&Thread::Release)
      .ExpectConsecutiveFrom(0);
  using Mutex = OrvBase::Mutex;
  SlotList() (&Mutex::Lock) (&Mutex::Unlock) (&Mutex::TryLock)(&Mutex::Release).ExpectConsecutiveFrom(0);
  using Event = OrvBase::Event;
  SlotList() (&Event::Reset) (&Event::Set) (&Event::Wait)(&Event::Release).ExpectConsecutiveFrom(0);
}

}  // namespace
}  // namespace OrvWorkFlow
