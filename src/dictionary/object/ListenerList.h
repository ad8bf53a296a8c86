// Who is told of the changes in a store.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "OrvWorkFlow/IDictionaryListener.h"
#include "base/lock/Mutex.h"
#include "regexp/Pattern.h"

namespace OrvWorkFlow::Core::Dictionary {

// Stands in the list for one AddListener: calls the client's listener with the dictionary through which it was added.
struct ListenerSurrogate {
  IDictionaryListener* target = nullptr;
  IDictionary* dictionary = nullptr;
  Patterns::Pattern pattern;  // Finds nothing when it is no pattern.
};

// Any thread; no lock is held while a listener or a pattern runs. Whoever notifies keeps the list alive meanwhile: a
// listener may end the dictionary that has it.
class ListenerList {
 public:
  // What a write costs when nobody listens.
  bool IsEmpty() const { return count_.load(std::memory_order_acquire) == 0; }

  // Neither object is owned. A null or empty pattern is found in every path. Throws std::bad_alloc.
  void Add(IDictionaryListener* listener, IDictionary* dictionary, const char* pattern);

  // Takes every surrogate of the listener and waits for the end of a call of it, unless this thread is itself within a
  // call of some listener.
  void Remove(const IDictionaryListener* listener) noexcept;

  // Takes all; waits for nothing.
  void RemoveAll() noexcept;

  // Calls those whose pattern is found in the path, in the order in which they were added; nobody while another
  // notification is under way, on whatever thread.
  void Notify(const char* path) noexcept;

 private:
  using Surrogate = std::shared_ptr<const ListenerSurrogate>;

  // The next one to call, or null; it counts as running until this is called again.
  Surrogate NextToCall() noexcept;

  std::atomic<std::size_t> count_ = 0;  // Of surrogates_.
  std::atomic<bool> is_notifying_ = false;

  Base::Mutex mutex_;
  Base::Condition call_ended_;
  std::vector<Surrogate> surrogates_ ORV_GUARDED_BY(mutex_);
  // Of the one notification under way: surrogates_[next_] up to [end_] have still to be called.
  std::size_t next_ ORV_GUARDED_BY(mutex_) = 0;
  std::size_t end_ ORV_GUARDED_BY(mutex_) = 0;
  const IDictionaryListener* running_ ORV_GUARDED_BY(mutex_) = nullptr;
  std::uint64_t call_number_ ORV_GUARDED_BY(mutex_) = 0;
};

}  // namespace OrvWorkFlow::Core::Dictionary
