#include "tests/platforms/Stage.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/fakes/FakeClock.h"
#include "tests/plugins/TestNode.h"

namespace orv_test {

namespace {

namespace OrvBase = OrvWorkFlow::OrvBase;

// What the nodes of the running performance share.
struct Play {
  const RandomFlow* flow = nullptr;
  Workbench* bench = nullptr;
  std::size_t stop_after = kNoStop;
  std::thread stopper;
  std::atomic<bool> stopping = false;  // the engine's stop flag is set
  std::atomic<bool> stopped = false;
  std::mutex mutex;
  std::vector<std::string> trace;
};
Play* play = nullptr;

template <class Condition>
bool WaitUntil(Condition&& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::yield();
  }
  return true;
}

// The stop has a thread of its own, as the pump or the thread that delivers is in a node now. That node returns when
// the pump can take no further signal.
void BeginStop() {
  play->stopper = std::thread([] {
    play->bench->engine().StopFlowing();
    play->stopped = true;
  });
  WaitUntil([] { return play->stopping.load(); });
}

// The engine's thread, which tells when it is posted the stop: the stop flag is set by then.
class ObservedThread final : public OrvBase::Thread {
 public:
  static Thread* New() {
    OrvBase::SetPrimitiveSource({});
    Thread* const real = Thread::GetNewThread();
    OrvBase::SetPrimitiveSource({&New, nullptr, nullptr});
    return real == nullptr ? nullptr : new ObservedThread(real);
  }

  void SetArgument(void* argument) override { real_->SetArgument(argument); }
  bool SetProcedure(Procedure procedure) override { return real_->SetProcedure(procedure); }
  bool Start() override { return real_->Start(); }
  void PostNamedEvent(const char* name) override {
    if (std::strcmp(name, "EngineStopped") == 0 && play != nullptr) play->stopping = true;
    real_->PostNamedEvent(name);
  }
  bool WaitForEvent(OrvWorkFlow::IOrvPString* name) override { return real_->WaitForEvent(name); }
  bool IsRunning() const override { return real_->IsRunning(); }
  unsigned long GetPostCount(const char* name) const override { return real_->GetPostCount(name); }
  void Release() override {
    real_->Release();
    delete this;
  }

 private:
  explicit ObservedThread(Thread* real) : real_(real) {}

  Thread* real_;
};

class Player final : public TestNode<Player> {
 public:
  static constexpr const char* kTypeName = "Player";
  Player() : TestNode(kTypeName) {}

  bool Initialise(const char* instance_name) override {
    number_ = std::atoi(instance_name + 1);
    return TestNode::Initialise(instance_name);
  }
  bool Signal(const char* signal_name) override {
    const std::string signal = signal_name;
    if (signal == "again") {
      working_ = true;
      return true;
    }
    std::string line = RandomFlow::NameOf(number_) + "." + signal;
    if (signal == "in") {
      CountIn();
    } else if (working_.exchange(false)) {
      line += "!";
      handler()->Signal(this, "res");
    }
    Tell(std::move(line));
    return true;
  }
  // The work itself is lost with the object; the count is in the dictionary.
  bool StopWork() override { return working_; }
  bool GetRebootSignal(OrvWorkFlow::IOrvPString* signal_name) override { return AssignText(signal_name, "again"); }

 private:
  static std::int32_t Add(const std::string& path, std::int32_t difference, std::int32_t first) {
    OrvWorkFlow::IDictionary& dictionary = play->bench->dictionary();
    std::int32_t value = first;
    dictionary.GetValue(path.c_str(), &value);
    value += difference;
    dictionary.SetValue(path.c_str(), value);
    return value;
  }

  void CountIn() {
    const RandomFlow& flow = *play->flow;
    const std::int32_t count = Add("/Data/" + RandomFlow::NameOf(number_), 1, 0);
    if (flow.nodes[static_cast<std::size_t>(number_)].worker) working_ = true;
    if (Add("/Data/Budget", 0, flow.budget) > 0) {
      Add("/Data/Budget", -1, 0);
      handler()->Signal(this, "out");
      if (count % 3 == 0) handler()->Signal(this, "alt");
    }
    if (number_ == flow.absorber && count == flow.absorb_at) {
      play->bench->engine().AbsorbFlow("$Top/extra.xml", true);
    }
  }

  static void Tell(std::string line) {
    std::size_t delivered = 0;
    {
      const std::lock_guard lock(play->mutex);
      play->trace.push_back(std::move(line));
      delivered = play->trace.size();
    }
    if (delivered == play->stop_after) BeginStop();
  }

  int number_ = 0;
  std::atomic<bool> working_ = false;
};

OrvWorkFlow::WorkFlowFactory player_registration(new (std::nothrow) TestNodeCreator<Player>);

// The pauses of a stop are there for the deliveries that have begun: a node is asked to stop between two signals. They
// are as long as that takes, and no longer.
void PauseUntilDelivered(unsigned /*milliseconds*/, void* /*context*/) {
  if (play == nullptr) return;
  WaitUntil([] {
    const auto statistics = play->bench->statistics();
    return statistics.received == statistics.finished;
  });
}

}  // namespace

Performance Perform(const RandomFlow& flow, Host host, const std::filesystem::path& start,
                    const std::filesystem::path& end, std::size_t stop_after) {
  FakeClock clock;
  clock.SetPauseHook(&PauseUntilDelivered, nullptr);
  OrvBase::SetPrimitiveSource({&ObservedThread::New, nullptr, nullptr});
  Performance performance;
  Play the_play;
  {
    Workbench bench(host, Log::kNone);
    OrvBase::SetPrimitiveSource({});  // The engine has its thread.
    the_play.flow = &flow;
    the_play.bench = &bench;
    the_play.stop_after = stop_after;
    play = &the_play;
    OrvWorkFlow::IWorkFlowEngine& engine = bench.engine();
    bool done = engine.LoadState(start.string().c_str()) && bench.LoadNodes();
    if (stop_after != 0) {
      done = done && engine.StartFlowing();
      if (stop_after == kNoStop) {
        done = done && bench.RunUntilIdle(60);
        BeginStop();
      }
      done = WaitUntil([&] { return bench.Deliver(), the_play.stopped.load(); }) && done;
      the_play.stopper.join();
    }
    performance.done = done && engine.SaveState(end.string().c_str());
    performance.trace = the_play.trace;
  }
  play = nullptr;
  return performance;
}

}  // namespace orv_test
