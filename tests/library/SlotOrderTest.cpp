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

// The overloads of the dictionary's operations, by the kind of path.
template <class Path, class Value>
auto SetterOf() {
  return static_cast<bool (IDictionary::*)(Path, Value)>(&IDictionary::SetValue);
}
template <class Path, class Value>
auto GetterOf() {
  return static_cast<bool (IDictionary::*)(Path, Value*)>(&IDictionary::GetValue);
}
template <class Path, class Result, class... Arguments>
auto OverloadOf(Result (IDictionary::*member)(Path, Arguments...)) {
  return member;
}

template <class Path>
SlotList& AddSettersAndGetters(SlotList& slots) {
  return slots(SetterOf<Path, const IOrvStringList*>())(SetterOf<Path, const char16_t*>())(SetterOf<Path, bool>())(
      SetterOf<Path, const IOrvBoolList*>())(SetterOf<Path, const IOrvDoubleList*>())(
      SetterOf<Path, const IOrvIntList*>())(SetterOf<Path, const IOrvPStringList*>())(SetterOf<Path, const char*>())(
      SetterOf<Path, double>())(SetterOf<Path, std::int32_t>())(GetterOf<Path, IOrvStringList>())(
      GetterOf<Path, IOrvString>())(GetterOf<Path, bool>())(GetterOf<Path, IOrvDoubleList>())(
      GetterOf<Path, IOrvIntList>())(GetterOf<Path, IOrvPStringList>())(GetterOf<Path, IOrvPString>())(
      GetterOf<Path, double>())(GetterOf<Path, std::int32_t>());
}

TEST(SlotOrderTest, Dictionary) {
  using I = IDictionary;
  using Text = const char*;
  using Path = const DictionaryPathWrapper&;
  SlotList slots;
  AddSettersAndGetters<Text>(slots)(OverloadOf<Text>(&I::HasAttribute))(OverloadOf<Text>(&I::GetAttribute))(
      OverloadOf<Text>(&I::SetAttribute)) (&I::GetFileVersion)(OverloadOf<Text>(&I::GetValueType))(
      OverloadOf<Text>(&I::Exists))(OverloadOf<Text>(&I::Delete))(OverloadOf<Text>(&I::GetEntries))(
      OverloadOf<Text>(&I::CountEntries)) (&I::LoadFile) (&I::SaveFile) (&I::LoadFromText) (&I::SaveToText)(
      OverloadOf<Text>(&I::EnumeratePaths))(OverloadOf<Text>(&I::Clear))(OverloadOf<Text>(&I::Rename))(
      OverloadOf<Text>(&I::FindPaths))(OverloadOf<Text>(&I::CountSubtree)) (&I::AddListener) (&I::RemoveListener) (
      &I::SaveFileWithPairs) (&I::LoadFileKeepingPairs)(OverloadOf<Text>(&I::GetAttributeNames))(
      OverloadOf<Text>(&I::RemoveAttribute))(OverloadOf<Text>(&I::SetRedirection))(OverloadOf<Text>(&I::IsRedirection))(
      OverloadOf<Text>(&I::RemoveRedirection))(OverloadOf<Text>(&I::SetBinary))(OverloadOf<Text>(&I::GetBinary))(
      OverloadOf<Text>(&I::CopySubtree))(OverloadOf<Text>(&I::MoveSubtree))(OverloadOf<Text>(&I::CompareSubtrees))(
      OverloadOf<IDictionary*, bool, Text, Text>(&I::MergeSubtree))(OverloadOf<Text>(&I::SaveSubtree))(
      OverloadOf<Text>(&I::LoadSubtree))(OverloadOf<Text>(&I::SaveSubtreeToStream))(
      OverloadOf<Text>(&I::LoadSubtreeFromStream)) (&I::SavePairs) (&I::LoadPairs)(
      OverloadOf<Text>(&I::GetValueTexts)) (&I::MakeDictionary)(OverloadOf<Text>(&I::CopyToNewDictionary));
  AddSettersAndGetters<Path>(slots)(OverloadOf<Path>(&I::GetValueType))(OverloadOf<Path>(&I::Exists))(
      OverloadOf<Path>(&I::Delete))(OverloadOf<Path>(&I::GetEntries))(OverloadOf<Path>(&I::CountEntries))(
      OverloadOf<Path>(&I::EnumeratePaths))(OverloadOf<Path>(&I::Clear))(OverloadOf<Path>(&I::Rename))(
      OverloadOf<Path>(&I::FindPaths))(OverloadOf<Path>(&I::CountSubtree))(OverloadOf<Path>(&I::HasAttribute))(
      OverloadOf<Path>(&I::GetAttribute))(OverloadOf<Path>(&I::SetAttribute));
  slots(GetterOf<Text, IOrvBoolList>())(GetterOf<Path, IOrvBoolList>()) (&I::GetChangeCount) (&I::GetObjectOf) (
      &I::GetLoadReport) (&I::GetSaveReport) (&I::GetLoadProblems)(OverloadOf<Text>(&I::SetValueTexts))(
      OverloadOf<Text>(&I::CompareAndSetTexts))(OverloadOf<IDictionary*, bool, Text, Text>(&I::CopySubtreeFrom)) (
      &I::WatchChanges)(&I::SetObserver);
  slots.ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, DictionaryWatch) {
  using I = IDictionaryWatch;
  SlotList slots;
  slots (&I::GetCount) (&I::Release)(&I::GetChanges).ExpectConsecutiveFrom(0);
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
  slots (&I::ReplaceFileBytes) (&I::GetLastFailure)(&I::FlushWrites).ExpectConsecutiveFrom(0);
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
      &I::GetInstantiatedWorknodesThatCallAbsorb) (&I::GetStatistics) (&I::SetRunObserver) (&I::Report) (
      &I::KeepFromDeletion) (&I::DeleteWriteDirectory)(&I::GetPerformedDelivery)
      .ExpectConsecutiveFrom(kBaseOperations);
}

TEST(SlotOrderTest, WorkFlowEngine) {
  using I = IWorkFlowEngine;
  SlotList() (&I::AddSignalMapping) (&I::RemoveSignalMapping) (&I::GetSignalMappings) (&I::RemoveAllSignalMappings) (
      &I::OutputSignal) (&I::SetStartSignal) (&I::StartFlowing) (&I::StopFlowing) (&I::DeleteTemporaryData) (
      &I::AbsorbFlow) (&I::GetWorkFlowFilePath) (&I::GetQueueState) (&I::SetWorkFlowFilePath) (&I::SetRunObserver) (
      &I::SetHandOverLimit) (&I::ReportQueue) (&I::KeepTemporaryData) (&I::SetHandOverQuota)(&I::QueueInputSignal)
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
