// Listeners, and many threads that write, add and remove.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr int kThreads = 8;

// Counts the calls while it is in no list. Reads, writes and sometimes throws.
class BusyListener final : public IDictionaryListener {
 public:
  void OnChange(IDictionary* dictionary, const char* path) override {
    if (!is_added) ++calls_too_late;
    std::int32_t value = 0;
    dictionary->GetValue(path, &value);
    dictionary->SetValue("/told", value);
    if (++calls % 5 == 0) throw std::runtime_error("of a listener");
  }

  std::atomic<bool> is_added = false;
  std::atomic<int> calls = 0;
  std::atomic<int> calls_too_late = 0;
};

// Eight threads, each with the dictionary that `choose` gives it: each writes, and adds and removes a listener of its
// own.
template <class Choose>
void WriteAddAndRemove(Choose choose) {
  std::array<BusyListener, kThreads> listeners;
  const auto work = [&](int number) {
    IDictionary& dictionary = choose(number);
    BusyListener& own = listeners[static_cast<std::size_t>(number)];
    const std::string path = "/t" + std::to_string(number);
    for (int i = 0; i < 300; ++i) {
      if (i % 3 == 0) {
        own.is_added = true;
        EXPECT_TRUE(dictionary.AddListener(&own, i % 2 == 0 ? "^/t[0-9]$" : nullptr));
      }
      EXPECT_TRUE(dictionary.SetValue(path.c_str(), i));
      if (i % 3 == 2) {
        // With the return of this the listener is out, for every thread.
        EXPECT_TRUE(dictionary.RemoveListener(&own));
        own.is_added = false;
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
  int calls = 0;
  for (const BusyListener& listener : listeners) {
    EXPECT_EQ(listener.calls_too_late, 0);
    calls += listener.calls;
  }
  EXPECT_GT(calls, 0);
  // No notification has left its mark behind.
  for (int i = 0; i < kThreads; ++i) {
    BusyListener after;
    after.is_added = true;
    choose(i).AddListener(&after, nullptr);
    EXPECT_TRUE(choose(i).SetValue("/last", i));
    EXPECT_EQ(after.calls, 1);
    choose(i).RemoveListener(&after);
  }
}

TEST(ListenerThreads, OnOneDictionary) {
  CDictionary dictionary;
  WriteAddAndRemove([&](int) -> IDictionary& { return dictionary; });
}

TEST(ListenerThreads, OnEightDictionaries) {
  std::array<CDictionary, kThreads> dictionaries;
  WriteAddAndRemove([&](int number) -> IDictionary& { return dictionaries[static_cast<std::size_t>(number)]; });
}

// Stays within its call until it is let go.
class SlowListener final : public IDictionaryListener {
 public:
  void OnChange(IDictionary*, const char*) override {
    is_within = true;
    while (!may_leave) std::this_thread::yield();
    has_left = true;
  }
  void WaitForCall() const {
    while (!is_within) std::this_thread::yield();
  }

  std::atomic<bool> is_within = false;
  std::atomic<bool> may_leave = false;
  std::atomic<bool> has_left = false;
};

TEST(ListenerThreads, ARemovalWaitsForTheCallOnAnotherThread) {
  CDictionary dictionary;
  SlowListener slow;
  dictionary.AddListener(&slow, nullptr);
  std::thread writer([&] { dictionary.SetValue("/a", 1); });
  slow.WaitForCall();
  std::thread releaser([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    slow.may_leave = true;
  });
  dictionary.RemoveListener(&slow);
  EXPECT_TRUE(slow.has_left);
  writer.join();
  releaser.join();
}

TEST(ListenerThreads, ARemovalDoesNotWaitForTheCallOfAnotherListener) {
  CDictionary dictionary;
  SlowListener slow;
  BusyListener other;
  dictionary.AddListener(&slow, nullptr);
  dictionary.AddListener(&other, nullptr);
  std::thread writer([&] { dictionary.SetValue("/a", 1); });
  slow.WaitForCall();
  dictionary.RemoveListener(&other);
  slow.may_leave = true;
  writer.join();
  EXPECT_EQ(other.calls, 0);
}

// Removes the other one, of the other dictionary, when both are within their calls.
class CrossRemover final : public IDictionaryListener {
 public:
  CrossRemover(IDictionary& other_dictionary, std::atomic<int>& within)
      : other_dictionary_(other_dictionary), within_(within) {}
  void OnChange(IDictionary*, const char*) override {
    ++within_;
    while (within_ < 2) std::this_thread::yield();
    other_dictionary_.RemoveListener(other);
  }

  IDictionaryListener* other = nullptr;

 private:
  IDictionary& other_dictionary_;
  std::atomic<int>& within_;
};

TEST(ListenerThreads, ListenersThatRemoveEachOtherDoNotWaitForEachOther) {
  CDictionary one;
  CDictionary two;
  std::atomic<int> within = 0;
  CrossRemover of_one(two, within);
  CrossRemover of_two(one, within);
  of_one.other = &of_two;
  of_two.other = &of_one;
  one.AddListener(&of_one, nullptr);
  two.AddListener(&of_two, nullptr);
  std::thread writer([&] { one.SetValue("/a", 1); });
  two.SetValue("/a", 1);
  writer.join();
  EXPECT_EQ(within, 2);
  one.SetValue("/b", 1);
  two.SetValue("/b", 1);
  EXPECT_EQ(within, 2);
}

TEST(ListenerThreads, AChangeDuringANotificationIsNotTold) {
  CDictionary dictionary;
  SlowListener slow;
  BusyListener counter;
  dictionary.AddListener(&slow, "^/slow$");
  dictionary.AddListener(&counter, nullptr);
  std::thread writer([&] { dictionary.SetValue("/slow", 1); });
  slow.WaitForCall();
  EXPECT_TRUE(dictionary.SetValue("/a", 1));
  EXPECT_EQ(counter.calls, 0);
  slow.may_leave = true;
  writer.join();
  EXPECT_EQ(counter.calls, 1);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
