#include "dictionary/object/ListenerList.h"

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr char kEveryPath[] = ".*";

// How many calls of listeners this thread is within.
constinit thread_local int calls_of_this_thread = 0;

void Call(const ListenerSurrogate& surrogate, const char* path) noexcept {
  if (!surrogate.pattern.Search(path)) return;
  ++calls_of_this_thread;
  try {
    surrogate.target->OnChange(surrogate.dictionary, path);
  } catch (...) {  // A listener's failure is not the writer's, nor that of the other listeners.
  }
  --calls_of_this_thread;
}

}  // namespace

void ListenerList::Add(IDictionaryListener* listener, IDictionary* dictionary, const char* pattern) {
  const auto surrogate = std::make_shared<ListenerSurrogate>();
  surrogate->target = listener;
  surrogate->dictionary = dictionary;
  surrogate->pattern.Compile(pattern == nullptr || *pattern == '\0' ? kEveryPath : pattern);
  const Base::Hold lock(mutex_);
  surrogates_.push_back(surrogate);
  count_.store(surrogates_.size(), std::memory_order_release);
}

void ListenerList::Remove(const IDictionaryListener* listener) noexcept {
  const Base::Hold lock(mutex_);
  for (std::size_t i = 0; i < surrogates_.size();) {
    if (surrogates_[i]->target != listener) {
      ++i;
      continue;
    }
    surrogates_.erase(surrogates_.begin() + static_cast<std::ptrdiff_t>(i));
    if (i < next_) --next_;
    if (i < end_) --end_;
  }
  count_.store(surrogates_.size(), std::memory_order_release);
  if (calls_of_this_thread > 0) return;
  const std::uint64_t call = call_number_;
  while (running_ == listener && call_number_ == call) call_ended_.Wait(mutex_);
}

void ListenerList::RemoveAll() noexcept {
  const Base::Hold lock(mutex_);
  surrogates_.clear();
  next_ = end_ = 0;
  count_.store(0, std::memory_order_release);
}

ListenerList::Surrogate ListenerList::NextToCall() noexcept {
  const Base::Hold lock(mutex_);
  ++call_number_;
  Surrogate next;
  if (next_ < end_) next = surrogates_[next_++];
  running_ = next == nullptr ? nullptr : next->target;
  call_ended_.NotifyAll();
  return next;
}

void ListenerList::Notify(const char* path) noexcept {
  if (is_notifying_.exchange(true)) return;
  {
    const Base::Hold lock(mutex_);
    next_ = 0;
    end_ = surrogates_.size();
  }
  while (const Surrogate surrogate = NextToCall()) Call(*surrogate, path);
  is_notifying_.store(false);
}

}  // namespace OrvWorkFlow::Core::Dictionary
