// The asynchronous operations and what they tell.
#include <string>

#include "tests/filesystem/AsyncTesting.h"

namespace OrvWorkFlow::Core::FileSystem::AsyncTesting {
namespace {

using orv_test::GlobalEngine;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";

TYPED_TEST_SUITE(Asynchronous, orv_test::Widths);

TYPED_TEST(Asynchronous, ListingsTellEachEntryAndThenTheEnd) {
  const std::string root = orv_test::Ascii(this->tree_);
  Listener<TypeParam> files;
  EXPECT_TRUE(this->face_->ListFilesAsync(this->tree_.c_str(), &files));
  files.Wait();
  EXPECT_EQ(files.Told(),
            (Names{"file " + root + "\\a", "file " + root + "\\b\\c", "file " + root + "\\b\\d\\e", "true"}));
  EXPECT_NE(files.Thread(), std::this_thread::get_id());
  Listener<TypeParam> directories;
  EXPECT_TRUE(this->face_->ListDirectoriesAsync(this->tree_.c_str(), &directories));
  directories.Wait();
  EXPECT_EQ(directories.Told(), (Names{"directory " + root + "\\b", "directory " + root + "\\b\\d", "true"}));
  EXPECT_EQ(directories.Thread(), files.Thread()) << "one worker an object";
}

TYPED_TEST(Asynchronous, ListingsOfWorkflowPathsTellWorkflowPaths) {
  orv_test::FakeEngine engine;
  const GlobalEngine global(engine);
  engine.paths["Flow"] = orv_test::PlatformPath(this->directory_.path()) + "\\flow.xml";
  Listener<TypeParam> listener;
  EXPECT_TRUE(this->face_->ListFilesAsync(this->T(" $Flow/t/b ").c_str(), &listener));
  listener.Wait();
  EXPECT_EQ(listener.Told(), (Names{"file $Flow/t/b/c", "file $Flow/t/b/d/e", "true"}));
}

TYPED_TEST(Asynchronous, TheOthersTellOnlyTheEnd) {
  Listener<TypeParam> listener;
  EXPECT_TRUE(this->face_->CopyOneFileAsync(this->At("t\\a").c_str(), this->At("copy").c_str(), false, &listener));
  listener.Wait(1);
  EXPECT_EQ(this->Content("copy"), "t/a");
  EXPECT_TRUE(this->face_->CopyOneFileAsync(this->At("t\\b\\c").c_str(), this->At("copy").c_str(), false, &listener));
  listener.Wait(2);
  EXPECT_TRUE(this->face_->CopyOneFileAsync(this->At("t\\b\\c").c_str(), this->At("copy").c_str(), true, &listener));
  listener.Wait(3);
  EXPECT_EQ(this->Content("copy"), "t/b/c");
  EXPECT_TRUE(this->face_->CopyDirectoryAsync(this->tree_.c_str(), this->At("u").c_str(), false, &listener));
  listener.Wait(4);
  EXPECT_EQ(this->Content("u/b/d/e"), "t/b/d/e");
  EXPECT_TRUE(this->face_->CopyDirectoryAsync(this->tree_.c_str(), this->At("u").c_str(), false, &listener));
  listener.Wait(5);
  EXPECT_TRUE(this->face_->DeleteDirectoryAsync(this->tree_.c_str(), &listener));
  listener.Wait(6);
  EXPECT_FALSE(this->Exists("t"));
  EXPECT_EQ(listener.Told(), (Names{"true", "false", "true", "true", "false", "true"}));
}

// Calls each asynchronous operation with that path, and that notification.
template <class Face, class Char>
std::vector<bool> StartEach(Face* face, const Char* path, const Char* other,
                            IFileSystemNotificationOf<Char>* listener) {
  return {face->DeleteDirectoryAsync(path, listener),           face->ListFilesAsync(path, listener),
          face->ListDirectoriesAsync(path, listener),           face->CopyOneFileAsync(path, other, true, listener),
          face->CopyOneFileAsync(other, path, true, listener),  face->CopyDirectoryAsync(path, other, true, listener),
          face->CopyDirectoryAsync(other, path, true, listener)};
}

TYPED_TEST(Asynchronous, MissingArgumentsAreRefusedAndNothingIsTold) {
  const std::vector<bool> all_refused(7, false);
  const auto empty = this->T("");
  const TypeParam* good = this->tree_.c_str();
  Listener<TypeParam> listener;
  EXPECT_EQ(StartEach<>(this->face_, static_cast<const TypeParam*>(nullptr), good, &listener), all_refused);
  EXPECT_EQ(StartEach<>(this->face_, empty.c_str(), good, &listener), all_refused);
  EXPECT_EQ(StartEach<>(this->face_, good, good, static_cast<Listener<TypeParam>*>(nullptr)), all_refused);
  EXPECT_EQ(this->hook_.Take(), Names(21, kInvalidParameter));
  // Had one of them begun, this would be refused.
  EXPECT_TRUE(this->StartSmallCall(this->face_, &listener));
  listener.Wait();
  EXPECT_EQ(listener.Told(), Names{"true"});
}

TYPED_TEST(Asynchronous, WhatElseIsWrongIsFoundOnTheThread) {
  const auto bad = {this->T("$Nobody/x"), this->T("   ")};
  for (const auto& path : bad) {
    const std::function<bool(Listener<TypeParam>*)> calls[] = {
        [&](auto* listener) { return this->face_->DeleteDirectoryAsync(path.c_str(), listener); },
        [&](auto* listener) { return this->face_->ListFilesAsync(path.c_str(), listener); },
        [&](auto* listener) { return this->face_->ListDirectoriesAsync(path.c_str(), listener); },
        [&](auto* listener) {
          return this->face_->CopyOneFileAsync(path.c_str(), this->At("x").c_str(), true, listener);
        },
        [&](auto* listener) {
          return this->face_->CopyDirectoryAsync(path.c_str(), this->At("x").c_str(), true, listener);
        },
        [&](auto* listener) { return this->face_->ListFilesAsync(this->missing_.c_str(), listener); },
    };
    for (const auto& call : calls) {
      Listener<TypeParam> listener;
      EXPECT_TRUE(call(&listener));
      listener.Wait();
      EXPECT_EQ(listener.Told(), Names{"false"});
    }
  }
}

TYPED_TEST(Asynchronous, OneCallAtATimeForBothFaces) {
  auto* narrow = static_cast<IFileSystemA*>(this->face_->QueryInterface("IFileSystemA"));
  auto* wide = static_cast<IFileSystemW*>(this->face_->QueryInterface("IFileSystemW"));
  const std::string narrow_path = orv_test::PlatformPath(this->directory_.path()) + "\\t";
  const std::u16string wide_path = orv_test::Text<char16_t>(narrow_path);
  Gate gate;
  Listener<TypeParam> listener;
  Listener<char> narrow_refused;
  Listener<char16_t> wide_refused;
  listener.on_found = [&] {
    gate.Pass();
    return true;
  };
  ASSERT_TRUE(this->face_->ListFilesAsync(this->tree_.c_str(), &listener));
  gate.WaitUntilReached();
  const std::vector<bool> all_refused(7, false);
  EXPECT_EQ(StartEach<>(narrow, narrow_path.c_str(), narrow_path.c_str(), &narrow_refused), all_refused);
  EXPECT_EQ(StartEach<>(wide, wide_path.c_str(), wide_path.c_str(), &wide_refused), all_refused);
  EXPECT_EQ(this->hook_.Take(), Names(14, kInProgress));
  EXPECT_TRUE(this->face_->FileExists(this->At("t\\a").c_str())) << "other operations go on";
  // Another object has a thread of its own.
  typename TestFixture::Object other;
  Listener<TypeParam> its;
  EXPECT_TRUE(this->StartSmallCall(other.face, &its));
  its.Wait();
  other.object->Release();
  gate.Open();
  listener.Wait();
  EXPECT_EQ(listener.Told().size(), 4U);
  EXPECT_EQ(narrow_refused.Told(), Names{});
  EXPECT_EQ(wide_refused.Told(), Names{});
}

TYPED_TEST(Asynchronous, AFalseAnswerStopsTheWalk) {
  const std::string root = orv_test::Ascii(this->tree_);
  Listener<TypeParam> files;
  files.on_found = [] { return false; };
  EXPECT_TRUE(this->face_->ListFilesAsync(this->tree_.c_str(), &files));
  files.Wait();
  EXPECT_EQ(files.Told(), (Names{"file " + root + "\\a", "false"}));
  Listener<TypeParam> directories;
  directories.on_found = [] { return false; };
  EXPECT_TRUE(this->face_->ListDirectoriesAsync(this->tree_.c_str(), &directories));
  directories.Wait();
  EXPECT_EQ(directories.Told(), (Names{"directory " + root + "\\b", "false"}));
}

// Its entries stand behind one backslash; the first is enough, for the drive may hold a whole system.
TYPED_TEST(Asynchronous, EntriesOfABareDrive) {
  EXPECT_TRUE(this->face_->MakeDirectory(this->T("C:\\orvbare").c_str()));
  Listener<TypeParam> listener;
  listener.on_found = [] { return false; };
  EXPECT_TRUE(this->face_->ListDirectoriesAsync(this->T("C:").c_str(), &listener));
  listener.Wait();
  const Names told = listener.Told();
  ASSERT_EQ(told.size(), 2U);
  EXPECT_EQ(told[0].substr(0, 13), "directory C:\\");
  EXPECT_EQ(told[0].find('\\', 13), std::string::npos) << told[0];
  EXPECT_GT(told[0].size(), 13U);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->T("C:\\orvbare").c_str()));
}

TYPED_TEST(Asynchronous, WhatNotificationsThrowStaysInside) {
  Listener<TypeParam> listener;
  listener.on_found = []() -> bool { throw 1; };
  EXPECT_TRUE(this->face_->ListFilesAsync(this->tree_.c_str(), &listener));
  listener.Wait();
  EXPECT_EQ(listener.Told().size(), 2U);
  EXPECT_EQ(listener.Told().back(), "false");

  Gate gate;
  Listener<TypeParam> thrower;
  thrower.on_completed = [&](bool) {
    gate.Open();
    throw 1;
  };
  EXPECT_TRUE(this->StartSmallCall(this->face_, &thrower));
  gate.Pass();
  Listener<TypeParam> next;
  EXPECT_TRUE(this->StartSmallCall(this->face_, &next));
  next.Wait();
  EXPECT_EQ(next.Told(), Names{"true"});
}

TYPED_TEST(Asynchronous, ArgumentsAreCopied) {
  Gate gate;
  Listener<TypeParam> first;
  first.on_completed = [&](bool) { gate.Pass(); };
  ASSERT_TRUE(this->StartSmallCall(this->face_, &first));
  gate.WaitUntilReached();
  // The worker is still in the first call's end: it cannot have read these yet.
  auto source = this->At("t\\a");
  auto destination = this->At("copy");
  Listener<TypeParam> second;
  ASSERT_TRUE(this->face_->CopyOneFileAsync(source.c_str(), destination.c_str(), false, &second));
  source.assign(source.size(), TypeParam{'?'});
  destination.assign(destination.size(), TypeParam{'?'});
  gate.Open();
  second.Wait();
  EXPECT_EQ(second.Told(), Names{"true"});
  EXPECT_EQ(this->Content("copy"), "t/a");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem::AsyncTesting
