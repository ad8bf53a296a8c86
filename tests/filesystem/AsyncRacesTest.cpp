// Asynchronous operations whose ends, next calls and releases meet.
#include <atomic>
#include <thread>

#include "tests/filesystem/AsyncTesting.h"
#include "tests/workflowengine/FakePrimitives.h"

namespace OrvWorkFlow::Core::FileSystem::AsyncTesting {
namespace {

using orv_test::FakeThread;
using orv_test::PrimitiveGuard;

constexpr char kNoThread[] = "/errors/cannot set the procedure for the thread|Cannot set the thread proc func.";

template <class Char>
using AsynchronousRaces = Asynchronous<Char>;
TYPED_TEST_SUITE(AsynchronousRaces, orv_test::Widths);

// Calls that fail before they ask the system for anything: the shorter the call, the closer the race.
constexpr int kRounds = 10000;

TYPED_TEST(AsynchronousRaces, TheNextCallFromWithinTheEndIsNeverRefused) {
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

TYPED_TEST(AsynchronousRaces, OfManyCallersEachAcceptedOneHearsOfItsOwnEndOnce) {
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

TYPED_TEST(AsynchronousRaces, ReleasingFromOutsideStopsTheCallAndWaits) {
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

TYPED_TEST(AsynchronousRaces, ReleasingAnIdleObjectEndsItsThread) {
  typename TestFixture::Object own;
  Listener<TypeParam> listener;
  ASSERT_TRUE(this->StartSmallCall(own.face, &listener));
  listener.Wait();
  own.object->Release();
  EXPECT_EQ(listener.Told(), Names{"true"});
}

TYPED_TEST(AsynchronousRaces, ReleasingFromWithinTheEnd) {
  for (int round = 0; round < 50; ++round) {
    typename TestFixture::Object own;
    Listener<TypeParam> listener;
    listener.on_completed = [&](bool) { own.object->Release(); };
    ASSERT_TRUE(this->StartSmallCall(own.face, &listener));
    listener.Wait();
    EXPECT_EQ(listener.Told(), Names{"true"});
  }
}

TYPED_TEST(AsynchronousRaces, ReleasingFromWithinAWalkEndsIt) {
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

TYPED_TEST(AsynchronousRaces, ACallAcceptedBeforeTheReleaseHearsOfItsEnd) {
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

TYPED_TEST(AsynchronousRaces, ReleasingDuringDeletionsAndCopies) {
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
TYPED_TEST(AsynchronousRaces, WithoutAThreadACallIsRefused) {
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
}  // namespace OrvWorkFlow::Core::FileSystem::AsyncTesting
