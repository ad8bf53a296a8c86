// What a host may have besides, on and off in turns: to be told of every step, and one signal at a time.
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"

namespace signals_bench {

namespace {

// Counts, as the least that an observer does.
class CountingObserver final : public OrvWorkFlow::IRunObserver {
 public:
  virtual ~CountingObserver() = default;
  void SignalQueued(const QueuedSignal& /*signal*/) override { ++steps_; }
  void SignalsDropped(std::uint64_t /*first*/, std::uint64_t /*count*/) override {}
  void SignalIgnored(const IgnoredSignal& /*signal*/) override {}
  void MappingNotRead(const UnreadMapping& /*mapping*/) override {}
  void SignalLost(const LostSignal& /*signal*/) override {}
  void DeliveryBegun(const Delivery& /*delivery*/) override { ++steps_; }
  void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override { ++steps_; }
  void RebootSignalFired(std::uint64_t /*number*/, const Receiver& /*receiver*/) override {}
  void NodeMade(const char* /*type*/, const char* /*instance*/) override {}

 private:
  std::atomic<std::uint64_t> steps_ = 0;
};

// Of the whole process: which thread waits for which makes no difference.
double ProcessorNanoseconds(const Action& action) {
  const std::clock_t begin = std::clock();
  action();
  return static_cast<double>(std::clock() - begin) * (1e9 / CLOCKS_PER_SEC);
}

// The same work with and without; the last round leaves it off.
void Compare(const std::string& what, const std::function<void(bool on)>& choose, const Action& run, long signals,
             double limit) {
  std::vector<double> with;
  std::vector<double> without;
  for (int round = 0; round <= rounds; ++round) {
    choose(true);
    with.push_back(ProcessorNanoseconds(run));
    choose(false);
    without.push_back(ProcessorNanoseconds(run));
  }
  const auto count = static_cast<double>(signals);
  std::printf("%s: %.0f ns of processor time a signal without, %.0f ns with\n", what.c_str(), Median(without) / count,
              Median(with) / count);
  Judge((what + ": with / without").c_str(), Median(with) / Median(without), "of the time without", limit);
}

// `most_of_flood`: what one signal at a time may cost a flood, in which each signal is a way to the GUI thread and back
// then.
void CompareAll(EngineRoad& road, const std::string& where, double most_of_flood) {
  CountingObserver observer;
  const auto observe = [&](bool on) {
    road.engine().SetRunObserver(on ? &observer : nullptr);
    road.mediator().SetRunObserver(on ? &observer : nullptr);
  };
  const auto limit = [&](bool on) { road.engine().SetHandOverLimit(on ? 1 : 0); };
  const Action flow = [&] { road.Flow(deliveries); };
  const Action ping_pong = [&] { road.PingPong(deliveries); };
  Compare("an observer, flow" + where, observe, flow, deliveries, 2.0);
  Compare("an observer, one signal" + where, observe, ping_pong, deliveries, 2.0);
  Compare("one signal at a time, flow" + where, limit, flow, deliveries, most_of_flood);
  Compare("one signal at a time, one signal" + where, limit, ping_pong, deliveries, 2.0);
}

}  // namespace

void Options() {
  {
    EngineRoad road(1, Host::kNone);
    CompareAll(road, " by the pump", 1.2);
  }
  EngineRoad road(1, Host::kGuiThread);
  CompareAll(road, " across the GUI thread", 8.0);
}

}  // namespace signals_bench
