// How many signals a second go round between two nodes, through the real engine and the real mediator of the built
// library, beside two queues of the kind one would write oneself. Each peer's consumer runs on a thread of its own and
// looks up the receiver of every signal by its text; the receiving node fires the next signal from within its handler.
//
//   signals_bench [SIGNALS] [ROUNDS]    (defaults: 300000 and 5; the median round counts)
#include <glib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "runtime/ObjectProtocol.h"

namespace {

using namespace OrvWorkFlow;

// Counts down the signals of one run; the main thread waits for the last.
class Countdown {
 public:
  void Start(long signals) { left_ = signals; }
  // True while signals are left.
  bool Next() {
    if (left_.fetch_sub(1) > 1) return true;
    const std::scoped_lock lock(mutex_);
    done_ = true;
    changed_.notify_all();
    return false;
  }
  void Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return done_; });
    done_ = false;
  }

 private:
  std::atomic<long> left_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
};

Countdown countdown;

// --- The engine ------------------------------------------------------------------------------------------------------

// Answers every ball by a hit.
class Player final : public ObjectProtocol<Player, IWorkNode> {
 public:
  explicit Player(const char* type) : ObjectProtocol(type, "IWorkNode") {}
  bool GetInstanceName(IOrvPString* name) override { return AssignText(name, instance_.c_str()); }
  bool Signal(const char* /*signal_name*/) override { return !countdown.Next() || handler_->Signal(this, "hit"); }
  bool StopWork() override { return false; }
  void SetOutgoingSignalHandler(IOutgoingSignalHandler* handler) override { handler_ = handler; }
  bool GetRebootSignal(IOrvPString* /*signal_name*/) override { return false; }
  bool GetProperty(const char* /*property_name*/, IOrvPString* /*value*/) override { return false; }
  bool Initialise(const char* instance_name) override {
    instance_ = instance_name;
    return true;
  }

 private:
  std::string instance_;
  IOutgoingSignalHandler* handler_ = nullptr;
};

class PlayerCreator final : public IFactoryObjectCreator {
 public:
  explicit PlayerCreator(const char* type) : type_(type) {}
  bool GetObjectName(IOrvPString* name) override { return name->Assign(type_.data(), type_.size()); }
  bool GetVersion(IOrvPString* version) override { return version->Assign("TAVIROVERSION", 13); }
  IBaseWorkFlowObject* Create() override { return new Player(type_.c_str()); }
  bool CreatesWorkNodes() override { return true; }
  IFactoryObjectCreator* Clone() override { return new PlayerCreator(type_.c_str()); }
  void Destroy() override { delete this; }

 private:
  std::string type_;
};

// Nothing may go wrong here: the ball would be lost and the program would wait for ever.
void EndOnBox(const char* text, const char* /*caption*/, void* /*context*/) {
  std::fprintf(stderr, "signals_bench: %s\n", text);
  std::_Exit(1);
}

template <class Interface>
Interface* Global(const char* name, const char* interface_name) {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewGlobalObject(name);
  void* face = object != nullptr ? object->QueryInterface(interface_name) : nullptr;
  if (face == nullptr) {
    std::fprintf(stderr, "signals_bench: the library has no object \"%s\"\n", name);
    std::exit(1);
  }
  return static_cast<Interface*>(face);
}

class EngineTable {
 public:
  EngineTable() {
    SetMessageBoxRoute({&EndOnBox, nullptr});
    dictionary_ = Global<IDictionary>("Dictionary", "IDictionary");
    mediator_ = Global<ISignalMediator>("SignalMediator", "ISignalMediator");
    engine_ = Global<IWorkFlowEngine>("WorkFlowEngine", "IWorkFlowEngine");
    Define("Ping", "left", "Pong,right,ball");
    Define("Pong", "right", "Ping,left,ball");
    dictionary_->SetValue("/WorkFlowEngine/WorkFlowName", "Table");
    mediator_->LoadState(nullptr);
  }
  ~EngineTable() { WorkFlowFactory::ReleaseGlobalObjects(); }
  EngineTable(const EngineTable&) = delete;
  EngineTable& operator=(const EngineTable&) = delete;

  void Play() {
    engine_->SetStartSignal("Ping", "left", "ball");
    engine_->StartFlowing();
    countdown.Wait();
    engine_->StopFlowing();
  }

 private:
  void Define(const std::string& type, const std::string& instance, const char* receiver) {
    const std::string key = "/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance;
    dictionary_->SetValue((key + "/maps/hit/map0").c_str(), receiver);
    // The type is registered below; any library that loads will do as its home.
    dictionary_->SetValue(("/WorkFlowEngine/WorkNodes/" + type + "/Binaries/win32_bin").c_str(), "CoreObjects");
  }

  WorkFlowFactory ping_{new PlayerCreator("Ping")};
  WorkFlowFactory pong_{new PlayerCreator("Pong")};
  IDictionary* dictionary_ = nullptr;
  ISignalMediator* mediator_ = nullptr;
  IWorkFlowEngine* engine_ = nullptr;
};

// --- The peers -------------------------------------------------------------------------------------------------------

constexpr char kPingHit[] = "Ping/left/hit";
constexpr char kPongHit[] = "Pong/right/hit";

class GLibTable {
 public:
  GLibTable() : queue_(g_async_queue_new_full(g_free)), receivers_(g_hash_table_new(g_str_hash, g_str_equal)) {
    // A signal's text leads to the text that the receiver fires in its turn.
    g_hash_table_insert(receivers_, const_cast<char*>(kPingHit), const_cast<char*>(kPongHit));
    g_hash_table_insert(receivers_, const_cast<char*>(kPongHit), const_cast<char*>(kPingHit));
  }
  ~GLibTable() {
    g_hash_table_unref(receivers_);
    g_async_queue_unref(queue_);
  }
  GLibTable(const GLibTable&) = delete;
  GLibTable& operator=(const GLibTable&) = delete;

  void Play() {
    std::thread pump([this] { Pump(); });
    g_async_queue_push(queue_, g_strdup(kPingHit));
    countdown.Wait();
    pump.join();
  }

 private:
  void Pump() {
    for (bool more = true; more;) {
      char* signal = static_cast<char*>(g_async_queue_pop(queue_));
      const char* answer = static_cast<const char*>(g_hash_table_lookup(receivers_, signal));
      more = countdown.Next();
      if (more) g_async_queue_push(queue_, g_strdup(answer));
      g_free(signal);
    }
  }

  GAsyncQueue* queue_;
  GHashTable* receivers_;
};

class DequeTable {
 public:
  void Play() {
    std::thread pump([this] { Pump(); });
    Push(kPingHit);
    countdown.Wait();
    pump.join();
  }

 private:
  void Push(const std::string& signal) {
    const std::scoped_lock lock(mutex_);
    queue_.push_back(signal);
    filled_.notify_one();
  }
  std::string Pop() {
    std::unique_lock lock(mutex_);
    filled_.wait(lock, [this] { return !queue_.empty(); });
    std::string signal = std::move(queue_.front());
    queue_.pop_front();
    return signal;
  }
  void Pump() {
    for (bool more = true; more;) {
      const std::string& answer = receivers_.at(Pop());
      more = countdown.Next();
      if (more) Push(answer);
    }
  }

  std::deque<std::string> queue_;
  std::mutex mutex_;
  std::condition_variable filled_;
  const std::unordered_map<std::string, std::string> receivers_ = {{kPingHit, kPongHit}, {kPongHit, kPingHit}};
};

// --- The race --------------------------------------------------------------------------------------------------------

double Nanoseconds(const std::function<void()>& play, long signals) {
  countdown.Start(signals);
  const auto begin = std::chrono::steady_clock::now();
  play();
  const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
  return time.count() / static_cast<double>(signals);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const long signals = argc > 1 ? std::atol(argv[1]) : 300000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
  if (signals < 1 || rounds < 1) {
    std::fprintf(stderr, "usage: signals_bench [SIGNALS] [ROUNDS]\n");
    return 2;
  }
  EngineTable engine;
  GLibTable glib;
  DequeTable deque;
  struct Racer {
    const char* name;
    std::function<void()> play;
    std::vector<double> times;
  };
  std::vector<Racer> racers = {{"engine and mediator", [&] { engine.Play(); }, {}},
                               {"GAsyncQueue and GHashTable", [&] { glib.Play(); }, {}},
                               {"deque, mutex, condition variable, map", [&] { deque.Play(); }, {}}};
  for (int round = 0; round < rounds; ++round) {
    for (Racer& racer : racers) racer.times.push_back(Nanoseconds(racer.play, signals));
  }
  const double own = Median(racers[0].times);
  std::printf("%-40s %12s %14s %8s\n", "ping-pong of two nodes", "ns a signal", "signals a s", "ratio");
  for (const Racer& racer : racers) {
    const double time = Median(racer.times);
    std::printf("%-40s %12.0f %14.0f %8.2f\n", racer.name, time, 1e9 / time, own / time);
  }
  return 0;
}
