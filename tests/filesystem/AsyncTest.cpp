// The asynchronous operations and what they tell.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"
#include "tests/support/TimeLimit.h"
#include "tests/workflowengine/FakePrimitives.h"

namespace OrvWorkFlow {
namespace {

using orv_test::FakeThread;
using orv_test::GlobalEngine;
using orv_test::PrimitiveGuard;
using orv_test::TimeLimit;
using Names = std::vector<std::string>;

constexpr char kInvalidParameter[] = "/errors/invalid parameter|Invalid parameter.";
constexpr char kInProgress[] =
    "/errors/asynchronous call already in progress|An asynchronous operation is already in progress.";
constexpr char kNoThread[] = "/errors/cannot set the procedure for the thread|Cannot set the thread proc func.";

// Writes down what it is told, and does in it what the test says.
template <class Char>
class Listener final : public IFileSystemNotificationOf<Char> {
 public:
  std::function<bool()> on_found;          // The answer; without it, true.
  std::function<void(bool)> on_completed;  // Before anybody who waits is woken.

  bool FileFound(const Char* path) override { return Found("file ", path); }
  bool DirectoryFound(const Char* path) override { return Found("directory ", path); }
  void Completed(bool succeeded) override {
    Record(succeeded ? "true" : "false");
    if (on_completed) on_completed(succeeded);
    const std::scoped_lock lock(mutex_);
    ++completed_;
    changed_.notify_all();
  }

  // Waits for the n-th completion, counted from 1.
  void Wait(int n = 1) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return completed_ >= n; });
  }
  Names Told() const {
    const std::scoped_lock lock(mutex_);
    return told_;
  }
  std::thread::id Thread() const {
    const std::scoped_lock lock(mutex_);
    return thread_;
  }

 private:
  bool Found(const char* what, const Char* path) {
    Record(what + orv_test::Ascii(std::basic_string<Char>(path)));
    return !on_found || on_found();
  }
  void Record(const std::string& what) {
    const std::scoped_lock lock(mutex_);
    told_.push_back(what);
    thread_ = std::this_thread::get_id();
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Names told_;
  std::thread::id thread_;
  int completed_ = 0;
};

// Holds a notification until the test opens it.
class Gate {
 public:
  // In the notification.
  void Pass() {
    std::unique_lock lock(mutex_);
    reached_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
  }
  void WaitUntilReached() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return reached_; });
  }
  void Open() {
    const std::scoped_lock lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool reached_ = false;
  bool open_ = false;
};

template <class Char>
class Asynchronous : public orv_test::FileSystemTest<Char> {
 protected:
  using Face = typename orv_test::FileSystemTest<Char>::Face;

  Asynchronous() {
    for (const char* name : {"t/a", "t/b/c", "t/b/d/e"}) this->MakeFile(name, name);
    tree_ = this->At("t");
  }

  // An object that the test releases itself.
  struct Object {
    CFileSystem* object = new CFileSystem;
    Face* face = static_cast<Face*>(object->QueryInterface(sizeof(Char) == 1 ? "IFileSystemA" : "IFileSystemW"));
  };

  // A call that ends at once, successfully.
  bool StartSmallCall(Face* face, Listener<Char>* listener) {
    return face->DeleteDirectoryAsync(missing_.c_str(), listener);
  }

  TimeLimit limit_{std::chrono::seconds(120)};
  std::basic_string<Char> tree_;
  std::basic_string<Char> missing_ = this->At("missing");
};
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

// Calls that fail before they ask the system for anything: the shorter the call, the closer the race.
constexpr int kRounds = 10000;

TYPED_TEST(Asynchronous, TheNextCallFromWithinTheEndIsNeverRefused) {
  Listener<TypeParam> listener;
  const auto blank = this->T(" ");
  std::atomic<int> refused = 0;
  int started = 1;
  listener.on_completed = [&](bool) {
    if (started == kRounds) return;
    ++started;
    if (!this->face_->ListFilesAsync(blank.c_str(), &listener)) ++refused;
  };
  ASSERT_TRUE(this->face_->ListFilesAsync(blank.c_str(), &listener));
  listener.Wait(kRounds);
  EXPECT_EQ(refused, 0);
  EXPECT_EQ(listener.Told(), Names(kRounds, "false"));
}

using NarrowAsynchronous = Asynchronous<char>;

TEST_F(NarrowAsynchronous, TheNextCallOfWhoeverTheEndWakesIsNeverRefused) {
  auto* narrow = static_cast<IFileSystemA*>(this->face_->QueryInterface("IFileSystemA"));
  auto* wide = static_cast<IFileSystemW*>(this->face_->QueryInterface("IFileSystemW"));
  Listener<char> narrow_listener;
  Listener<char16_t> wide_listener;
  int refused = 0;
  for (int round = 1; round <= kRounds / 2; ++round) {
    if (!narrow->ListFilesAsync(" ", &narrow_listener)) ++refused;
    narrow_listener.Wait(round);
    if (!wide->ListFilesAsync(u" ", &wide_listener)) ++refused;
    wide_listener.Wait(round);
  }
  EXPECT_EQ(refused, 0);
  EXPECT_EQ(narrow_listener.Told(), Names(kRounds / 2, "false"));
  EXPECT_EQ(wide_listener.Told(), Names(kRounds / 2, "false"));
}

TYPED_TEST(Asynchronous, OfManyCallersEachAcceptedOneHearsOfItsOwnEndOnce) {
  std::atomic<int> running = 0;
  std::atomic<int> accepted = 0;
  std::atomic<bool> overlapped = false;
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        Listener<TypeParam> listener;
        listener.on_completed = [&](bool) {
          if (++running != 1) overlapped = true;
          --running;
        };
        if (!this->StartSmallCall(this->face_, &listener)) continue;
        ++accepted;
        listener.Wait();
        EXPECT_EQ(listener.Told(), Names{"true"});
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_GT(accepted, 0);
  EXPECT_FALSE(overlapped);
  for (const std::string& report : this->hook_.Take()) EXPECT_EQ(report, kInProgress);
}

TYPED_TEST(Asynchronous, ReleasingFromOutsideStopsTheCallAndWaits) {
  constexpr std::size_t kMany = 500;
  for (std::size_t i = 0; i < kMany; ++i) this->MakeFile("many/" + std::to_string(i));
  typename TestFixture::Object own;
  Gate gate;
  Listener<TypeParam> listener;
  listener.on_found = [&] {
    gate.Pass();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return true;
  };
  ASSERT_TRUE(own.face->ListFilesAsync(this->At("many").c_str(), &listener));
  gate.WaitUntilReached();
  gate.Open();
  own.object->Release();
  const Names told = listener.Told();
  EXPECT_EQ(told.back(), "false");
  EXPECT_LT(told.size(), kMany);
}

TYPED_TEST(Asynchronous, ReleasingAnIdleObjectEndsItsThread) {
  typename TestFixture::Object own;
  Listener<TypeParam> listener;
  ASSERT_TRUE(this->StartSmallCall(own.face, &listener));
  listener.Wait();
  own.object->Release();
  EXPECT_EQ(listener.Told(), Names{"true"});
}

TYPED_TEST(Asynchronous, ReleasingFromWithinTheEnd) {
  for (int round = 0; round < 50; ++round) {
    typename TestFixture::Object own;
    Listener<TypeParam> listener;
    listener.on_completed = [&](bool) { own.object->Release(); };
    ASSERT_TRUE(this->StartSmallCall(own.face, &listener));
    listener.Wait();
    EXPECT_EQ(listener.Told(), Names{"true"});
  }
}

TYPED_TEST(Asynchronous, ReleasingFromWithinAWalkEndsIt) {
  typename TestFixture::Object own;
  Listener<TypeParam> listener;
  listener.on_found = [&] {
    own.object->Release();
    return true;
  };
  ASSERT_TRUE(own.face->ListFilesAsync(this->tree_.c_str(), &listener));
  listener.Wait();
  EXPECT_EQ(listener.Told().size(), 2U) << "one file, and the end";
  EXPECT_EQ(listener.Told().back(), "false");
}

TYPED_TEST(Asynchronous, ACallAcceptedBeforeTheReleaseHearsOfItsEnd) {
  typename TestFixture::Object own;
  Listener<TypeParam> first;
  Listener<TypeParam> second;
  first.on_completed = [&](bool) {
    EXPECT_TRUE(own.face->ListFilesAsync(this->tree_.c_str(), &second));
    own.object->Release();
  };
  ASSERT_TRUE(this->StartSmallCall(own.face, &first));
  second.Wait();
  EXPECT_EQ(second.Told(), Names{"false"});
  EXPECT_EQ(first.Told(), Names{"true"});
}

TYPED_TEST(Asynchronous, ReleasingDuringDeletionsAndCopies) {
  for (int i = 0; i < 200; ++i) this->MakeFile("many/" + std::to_string(i), "x");
  for (const bool copies : {true, false}) {
    typename TestFixture::Object own;
    Listener<TypeParam> listener;
    const auto many = this->At("many");
    ASSERT_TRUE(copies ? own.face->CopyDirectoryAsync(many.c_str(), this->At("copied").c_str(), true, &listener)
                       : own.face->DeleteDirectoryAsync(many.c_str(), &listener));
    own.object->Release();
    EXPECT_EQ(listener.Told().size(), 1U) << "the end, before the release has returned";
  }
}

// Each failure to get a thread refuses the call, and the next one may have more luck.
TYPED_TEST(Asynchronous, WithoutAThreadACallIsRefused) {
  Listener<TypeParam> listener;
  {
    const PrimitiveGuard none({[]() -> OrvBase::Thread* { return nullptr; }, nullptr, nullptr});
    EXPECT_FALSE(this->StartSmallCall(this->face_, &listener));
  }
  FakeThread thread;
  {
    const PrimitiveGuard fake(&thread, nullptr);
    thread.refuse_procedure = true;
    EXPECT_FALSE(this->StartSmallCall(this->face_, &listener));
    thread.refuse_procedure = false;
    thread.refuse_start = true;
    EXPECT_FALSE(this->StartSmallCall(this->face_, &listener));
    thread.on_start = [] { throw 1; };
    EXPECT_FALSE(this->StartSmallCall(this->face_, &listener));
  }
  EXPECT_EQ(this->hook_.Take(), Names(4, kNoThread));
  EXPECT_EQ(listener.Told(), Names{});
  // The thread that it has got is kept.
  thread.refuse_start = false;
  thread.on_start = nullptr;
  ASSERT_TRUE(this->StartSmallCall(this->face_, &listener));
  std::thread runner([&] { thread.Run(); });
  listener.Wait();
  EXPECT_EQ(listener.Told(), Names{"true"});
  std::exchange(this->object_, new CFileSystem)->Release();
  runner.join();
}

}  // namespace
}  // namespace OrvWorkFlow
