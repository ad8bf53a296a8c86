// Queues of the kind one would write oneself, and GLib's.
#include <glib.h>

#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "benchmarks/signals/Road.h"

namespace signals_bench {
namespace {

constexpr char kSignal[] = "Sender/left/hit";

std::string ReceiverName(long number) { return "Receiver/" + std::to_string(number) + "/ball"; }

class DequeRoad final : public Road {
 public:
  explicit DequeRoad(long receivers, long signals = 1) : Road(receivers) {
    for (long i = 0; i < signals; ++i) {
      signals_.push_back(kSignal + std::to_string(i));
      for (long j = 0; j < receivers; ++j) mappings_[signals_.back()].push_back(ReceiverName(j));
    }
    for (long i = 0; i < receivers; ++i) handlers_[ReceiverName(i)] = [this] { Deliver(); };
  }
  ~DequeRoad() override { Push(""); }

 private:
  void Fire() override {
    const std::string& signal = signals_[next_];
    next_ = next_ + 1 == signals_.size() ? 0 : next_ + 1;
    for (const std::string& receiver : mappings_.at(signal)) Push(receiver);
  }
  void Push(const std::string& receiver) {
    const std::scoped_lock lock(mutex_);
    queue_.push_back(receiver);
    filled_.notify_one();
  }
  std::string Pop() {
    std::unique_lock lock(mutex_);
    filled_.wait(lock, [this] { return !queue_.empty(); });
    std::string receiver = std::move(queue_.front());
    queue_.pop_front();
    return receiver;
  }
  void Pump() {
    for (std::string receiver = Pop(); !receiver.empty(); receiver = Pop()) handlers_.at(receiver)();
  }

  std::vector<std::string> signals_;
  std::size_t next_ = 0;  // of those; used by one thread at a time
  std::deque<std::string> queue_;
  std::mutex mutex_;
  std::condition_variable filled_;
  std::unordered_map<std::string, std::vector<std::string>> mappings_;
  std::unordered_map<std::string, std::function<void()>> handlers_;
  std::jthread pump_{[this] { Pump(); }};
};

class GLibQueueRoad final : public Road {
 public:
  explicit GLibQueueRoad(long receivers) : Road(receivers) {
    for (long i = 0; i < receivers; ++i) {
      names_.push_back(ReceiverName(i));
      g_hash_table_insert(handlers_, g_strdup(names_.back().c_str()), this);
    }
    g_hash_table_insert(mappings_, g_strdup(kSignal), &names_);
  }
  ~GLibQueueRoad() override {
    g_async_queue_push(queue_, g_strdup(""));
    pump_.join();
    g_async_queue_unref(queue_);
    g_hash_table_unref(handlers_);
    g_hash_table_unref(mappings_);
  }

 private:
  void Fire() override {
    const auto* receivers = static_cast<const std::vector<std::string>*>(g_hash_table_lookup(mappings_, kSignal));
    for (const std::string& receiver : *receivers) g_async_queue_push(queue_, g_strdup(receiver.c_str()));
  }
  void Pump() {
    for (bool more = true; more;) {
      char* const receiver = static_cast<char*>(g_async_queue_pop(queue_));
      more = *receiver != '\0';
      if (more) static_cast<GLibQueueRoad*>(g_hash_table_lookup(handlers_, receiver))->Deliver();
      g_free(receiver);
    }
  }

  GAsyncQueue* const queue_ = g_async_queue_new();
  GHashTable* const mappings_ = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr);
  GHashTable* const handlers_ = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr);
  std::vector<std::string> names_;
  std::thread pump_{[this] { Pump(); }};
};

class GLibContextRoad final : public Road {
 public:
  explicit GLibContextRoad(long receivers) : Road(receivers) {}
  ~GLibContextRoad() override {
    g_main_loop_quit(loop_);
    pump_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
  }

 private:
  static gboolean Receive(gpointer road) {
    static_cast<GLibContextRoad*>(road)->Deliver();
    return G_SOURCE_REMOVE;
  }
  void Fire() override {
    for (long i = 0; i < receivers_; ++i) {
      GSource* const source = g_idle_source_new();
      g_source_set_priority(source, G_PRIORITY_DEFAULT);
      g_source_set_callback(source, &Receive, this, nullptr);
      g_source_attach(source, context_);
      g_source_unref(source);
    }
  }
  void Pump() {
    g_main_context_push_thread_default(context_);
    g_main_loop_run(loop_);
    g_main_context_pop_thread_default(context_);
  }

  GMainContext* const context_ = g_main_context_new();
  GMainLoop* const loop_ = g_main_loop_new(context_, FALSE);
  std::thread pump_{[this] { Pump(); }};
};

}  // namespace

std::unique_ptr<Road> MakeDequeRoadOfSignals(long signals) { return std::make_unique<DequeRoad>(1, signals); }
std::unique_ptr<Road> MakeDequeRoad(long receivers) { return std::make_unique<DequeRoad>(receivers); }
std::unique_ptr<Road> MakeGLibQueueRoad(long receivers) { return std::make_unique<GLibQueueRoad>(receivers); }
std::unique_ptr<Road> MakeGLibContextRoad(long receivers) { return std::make_unique<GLibContextRoad>(receivers); }

}  // namespace signals_bench
