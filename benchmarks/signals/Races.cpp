// The road of a signal beside other ways from thread to thread, in turns.
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/Road.h"
#include "benchmarks/signals/SignalCases.h"

namespace signals_bench {

namespace {

struct Racer {
  const char* name;
  std::unique_ptr<Road> road;
  std::vector<double> times = {};
  double median = 0;
};

std::vector<Racer> Peers(long receivers, Host host) {
  std::vector<Racer> racers;
  racers.push_back({"engine and mediator", MakeEngineRoad(receivers, host)});
  racers.push_back({"deque, mutex, condition variable, maps", MakeDequeRoad(receivers)});
  racers.push_back({"GAsyncQueue and GHashTable", MakeGLibQueueRoad(receivers)});
  racers.push_back({"GMainContext", MakeGLibContextRoad(receivers)});
  if (auto qt = MakeQtRoad(receivers)) racers.push_back({"Qt6 queued connection", std::move(qt)});
  return racers;
}

void Race(const char* title, std::vector<Racer>& racers, const std::function<void(Road&)>& run, long count) {
  for (Racer& racer : racers) run(*racer.road);  // nodes are made, memory is touched
  for (int round = 0; round < rounds; ++round) {
    for (Racer& racer : racers) {
      racer.times.push_back(Nanoseconds([&] { run(*racer.road); }) / static_cast<double>(count));
    }
  }
  std::printf("%-50s %12s %16s %9s\n", title, "ns a delivery", "deliveries a s", "engine /");
  for (Racer& racer : racers) {
    racer.median = Median(racer.times);
    racer.times.clear();
    std::printf("  %-48s %12.0f %16.0f %9.2f\n", racer.name, racer.median, 1e9 / racer.median,
                racers.front().median / racer.median);
  }
}

// Against the peer of that name, as far as it is there.
void JudgeRace(const std::vector<Racer>& racers, const char* peer, const char* limit_text, double limit) {
  for (const Racer& racer : racers) {
    if (std::string(racer.name).starts_with(peer)) {
      Judge((std::string("engine / ") + racer.name).c_str(), racers.front().median / racer.median, limit_text, limit);
    }
  }
}

}  // namespace

void RaceAll() {
  for (const long receivers : {1L, 10L, 100L}) {
    std::vector<Racer> racers = Peers(receivers, Host::kNone);
    const long firings = deliveries / receivers;
    const std::string title = "fan-out of " + std::to_string(receivers) + ", thread to thread";
    Race(
        title.c_str(), racers, [&](Road& road) { road.Flow(firings); }, firings * receivers);
    if (receivers == 1) {
      JudgeRace(racers, "Qt6", "half of Qt", 0.5);
      JudgeRace(racers, "deque", "aim", 2.0);
      Race(
          "one signal, node to node by the pump", racers, [&](Road& road) { road.PingPong(firings); }, firings);
      JudgeRace(racers, "Qt6", "half of Qt", 0.5);
      JudgeRace(racers, "deque", "two and a half; the aim is 2", 2.5);
    } else {
      JudgeRace(racers, "Qt6", "a third of Qt", 1.0 / 3);
    }
  }
}

void RaceAcrossGuiThread() {
  for (const long receivers : {1L, 10L}) {
    std::vector<Racer> racers = Peers(receivers, Host::kGuiThread);
    const long firings = deliveries / receivers;
    const std::string title = "across the host's GUI thread, fan-out of " + std::to_string(receivers);
    Race(
        title.c_str(), racers, [&](Road& road) { road.Flow(firings); }, firings * receivers);
    JudgeRace(racers, "Qt6", "half of Qt", 0.5);
  }
}

// From the GUI thread to the pump and back, or between two threads.
void RaceRoundTrips() {
  std::vector<Racer> racers;
  racers.push_back({"engine and mediator", MakeEngineRoad(1, Host::kGuiThread)});
  if (auto qt = MakeQtEchoRoad()) racers.push_back({"Qt6 queued connections", std::move(qt)});
  const long signals = deliveries / 10;
  Race(
      "a round trip between two threads", racers, [&](Road& road) { road.PingPong(signals); }, signals);
  JudgeRace(racers, "Qt6", "one and a half of Qt", 1.5);
}

}  // namespace signals_bench
