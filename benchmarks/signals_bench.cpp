// What a signal costs on the way from a node's output to the next node's input, through the real engine, mediator and
// dictionary of the built library, beside other ways from thread to thread; and whether that depends on how much there
// is of anything. Peers run in turns with the library, in the same rounds; medians count.
//
//   signals_bench [DELIVERIES] [ROUNDS]    (defaults: 200000 and 5)
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <vector>

#include "benchmarks/signals/EngineRoad.h"
#include "tests/support/Marshalled.h"

namespace {

using namespace signals_bench;
using Action = std::function<void()>;

long deliveries = 200000;
int rounds = 5;
int failures = 0;

double Nanoseconds(const Action& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double MedianOf(const Action& action) {
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) times.push_back(Nanoseconds(action));
  return Median(times);
}

void Judge(const char* what, double value, const char* limit_text, double limit) {
  const bool passed = value <= limit;
  failures += passed ? 0 : 1;
  std::printf("  %-4s %-58s %8.2f  (limit %.2f: %s)\n", passed ? "PASS" : "FAIL", what, value, limit, limit_text);
}

// --- Races -----------------------------------------------------------------------------------------------------------

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
      JudgeRace(racers, "deque", "aim", 2.0);
    } else {
      JudgeRace(racers, "Qt6", "a third of Qt", 1.0 / 3);
    }
  }
  for (const long receivers : {1L, 10L}) {
    std::vector<Racer> racers = Peers(receivers, Host::kGuiThread);
    const long firings = deliveries / receivers;
    const std::string title = "across the host's GUI thread, fan-out of " + std::to_string(receivers);
    Race(
        title.c_str(), racers, [&](Road& road) { road.Flow(firings); }, firings * receivers);
    JudgeRace(racers, "Qt6", "Qt", 1.0);
  }
}

// --- What must not depend on numbers ---------------------------------------------------------------------------------

// Waits until the pump has delivered everything.
void Drain(EngineRoad& road) {
  OrvWorkFlow::IWorkFlowEngine::QueueState state;
  do {
    std::this_thread::yield();
    road.engine().GetQueueState(&state);
  } while (state.waiting != 0 || state.firing);
}

// Between calls: how much of the heap is in use.
double HeapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

struct Backlog {
  double nanoseconds = 0;
  double bytes = 0;
};

Backlog MeasureBacklog(EngineRoad& road, long entries) {
  road.engine().StopFlowing();
  const double before = HeapBytes();
  double bytes = 0;
  const double time = Nanoseconds([&] {
    for (long i = 0; i < entries; ++i) road.engine().OutputSignal("Sender", "left", "idle");
    bytes = HeapBytes() - before;
    road.engine().StartFlowing();
    Drain(road);
  });
  const auto count = static_cast<double>(entries);
  return {time / count, bytes / count};
}

void Backlogs() {
  EngineRoad road(1, Host::kNone);
  road.engine().AddSignalMapping("Sender", "left", "idle", nullptr, nullptr, "Receiver", "0", "hello");
  // The first of the large ones takes the queue's memory.
  const double bytes = MeasureBacklog(road, 1000000).bytes;
  std::vector<double> small;
  std::vector<double> large;
  for (int round = 0; round < rounds; ++round) {
    small.push_back(MeasureBacklog(road, 100000).nanoseconds);
    large.push_back(MeasureBacklog(road, 1000000).nanoseconds);
  }
  std::printf("queued, then drained: %.0f ns an entry of 10^5, %.0f ns of 10^6, %.0f bytes\n", Median(small),
              Median(large), bytes);
  Judge("10^6 entries / 10^5 entries, time an entry", Median(large) / Median(small), "linear", 1.6);
  Judge("bytes a queued entry", bytes, "Qt6 needs 189", 192);
}

// The same work before and after `grow`.
void CompareGrowth(const char* what, const Action& work, const Action& grow) {
  work();
  const double before = MedianOf(work);
  grow();
  work();
  Judge(what, MedianOf(work) / before, "does not grow", 1.5);
}

// Ten thousand receivers do not fit into a cache, in no way of delivering: so the bare deque's growth is the measure.
void CompareManyReceivers(EngineRoad& road) {
  constexpr long kTotal = 99000;
  std::vector<double> own;
  std::vector<double> bare;
  for (const long receivers : {100L, 9900L}) {
    const std::string signal = "fan" + std::to_string(receivers);
    for (long i = 0; i < receivers; ++i) {
      road.engine().AddSignalMapping("Sender", "left", signal.c_str(), nullptr, nullptr, "Receiver",
                                     std::to_string(i).c_str(), "hello");
    }
    const auto fire = [&] {
      for (long i = 0; i < kTotal; i += receivers) road.engine().OutputSignal("Sender", "left", signal.c_str());
      Drain(road);
    };
    fire();
    own.push_back(MedianOf(fire));
    const auto deque = MakeDequeRoad(receivers);
    const auto flow = [&] { deque->Flow(kTotal / receivers); };
    flow();
    bare.push_back(MedianOf(flow));
  }
  const double growth = own[1] / own[0];
  const double bare_growth = bare[1] / bare[0];
  std::printf("a delivery, of 9900 receivers / of 100: %.2f (%.0f to %.0f ns), the bare deque %.2f (%.0f to %.0f ns)\n",
              growth, own[0] / kTotal, own[1] / kTotal, bare_growth, bare[0] / kTotal, bare[1] / kTotal);
  Judge("growth / the bare deque's growth", growth / bare_growth, "grows no more", 1.25);
}

void Growth() {
  EngineRoad road(1, Host::kNone);
  const auto ping_pong = [&] { road.PingPong(deliveries); };
  CompareGrowth("a signal, with 10^4 instances", ping_pong, [&] {
    for (int i = 1; i < 10000; ++i) road.AddReceiver(std::to_string(i));
  });
  CompareGrowth("a signal, with an absorb tree of 10^3 flows", ping_pong, [&] {
    for (int i = 0; i < 1000; ++i) {
      const std::string name = "Flow" + std::to_string(i);
      road.dictionary().SetValue(("/WorkFlowEngine/AbsorbTree/node0/node" + std::to_string(i)).c_str(), name.c_str());
    }
  });
  int next = 0;
  const auto add_mappings = [&] {
    for (int i = 0; i < 100; ++i) {
      road.engine().AddSignalMapping("Sender", "left", "many", nullptr, nullptr, "Receiver",
                                     std::to_string(next++).c_str(), "hello");
    }
  };
  CompareGrowth("adding a mapping, with 10^4 of one sender", add_mappings, [&] {
    while (next < 10000 - 100 * rounds) add_mappings();
  });
  std::printf("adding 10^4 mappings of one sender: now at %d\n", next);
  CompareManyReceivers(road);
}

// --- Nodes that write
// --------------------------------------------------------------------------------------------------

void AbsorbFlows(EngineRoad& road, int from, int to) {
  for (int i = from; i < to; ++i) {
    const std::string number = std::to_string(i);
    road.dictionary().SetValue(("/WorkFlowEngine/AbsorbTree/node0/node" + number).c_str(), ("Flow" + number).c_str());
    const orv_test::PStringList directories(std::vector<std::string>{"$Flow" + number + "/in"});
    road.dictionary().SetValue(("/WorkFlowEngine/Directories/Flow" + number + "/ReadDirs").c_str(), directories.out());
  }
}

// What it costs that each receiver sets one value at each signal, in times of setting such a value alone.
void JudgeWriting(EngineRoad& road, const std::string& what) {
  std::vector<double> plain;
  std::vector<double> writing;
  std::vector<double> values;
  for (int round = 0; round <= rounds; ++round) {
    road.SetValuesAtSignals(false);
    plain.push_back(Nanoseconds([&] { road.PingPong(deliveries); }));
    road.SetValuesAtSignals(true);
    writing.push_back(Nanoseconds([&] { road.PingPong(deliveries); }));
    values.push_back(Nanoseconds([&] {
      for (long i = 0; i < deliveries; ++i) road.SetValueOf("0");
    }));
  }
  road.SetValuesAtSignals(false);
  const auto count = static_cast<double>(deliveries);
  std::printf("%s: %.0f ns a signal, %.0f ns with a value set, %.0f ns a value alone\n", what.c_str(),
              Median(plain) / count, Median(writing) / count, Median(values) / count);
  Judge((what + ": what a value adds / a value alone").c_str(), (Median(writing) - Median(plain)) / Median(values),
        "one and a half", 1.5);
}

void Writing() {
  EngineRoad road(1, Host::kNone);
  JudgeWriting(road, "1 node, 1 flow");
  AbsorbFlows(road, 0, 100);
  JudgeWriting(road, "1 node, 100 flows");
  AbsorbFlows(road, 100, 1000);
  JudgeWriting(road, "1 node, 1000 flows");
  for (int i = 1; i < 1000; ++i) road.AddReceiver(std::to_string(i));
  JudgeWriting(road, "10^3 nodes, 1000 flows");
  for (int i = 1000; i < 10000; ++i) road.AddReceiver(std::to_string(i));
  JudgeWriting(road, "10^4 nodes, 1000 flows");
}

// One sender with so many signals that it fires in turn; the bare deque finds its receiver in a table of as many.
void ManySignals() {
  constexpr long kTotal = 200000;
  std::vector<double> own;
  std::vector<double> bare;
  for (const long signals : {100L, 1000L, 10000L, 100000L}) {
    EngineRoad road(1, Host::kNone);
    std::vector<std::string> names;
    for (long i = 0; i < signals; ++i) names.push_back("s" + std::to_string(i));
    for (const std::string& name : names) {
      road.engine().AddSignalMapping("Sender", "left", name.c_str(), nullptr, nullptr, "Receiver", "0", "hello");
    }
    const auto fire = [&] {
      for (long i = 0; i < kTotal; ++i) {
        road.engine().OutputSignal("Sender", "left", names[static_cast<std::size_t>(i % signals)].c_str());
      }
      Drain(road);
    };
    const auto deque = MakeDequeRoadOfSignals(signals);
    const auto flow = [&] { deque->Flow(kTotal); };
    for (long i = 0; i < signals; i += kTotal) fire();
    fire();
    flow();
    own.push_back(MedianOf(fire) / kTotal);
    bare.push_back(MedianOf(flow) / kTotal);
    std::printf("%ld signals of one sender in turn: %.0f ns each, the bare deque %.0f ns\n", signals, own.back(),
                bare.back());
  }
  Judge("growth from 10^2 to 10^5 / the bare deque's growth", own.back() / own.front() / (bare.back() / bare.front()),
        "twice", 2.0);
}

// --- Saved queues ----------------------------------------------------------------------------------------------------

struct SavedTimes {
  double save = 0;
  double load = 0;
  double plain_save = 0;
  double plain_load = 0;
};

SavedTimes MeasureSaved(EngineRoad& road, long entries, const std::string& file) {
  road.engine().StopFlowing();
  while (entries-- > 0) road.engine().OutputSignal("Sender", "left", "idle");
  SavedTimes times;
  times.save = MedianOf([&] { road.engine().SaveState(file.c_str()); });
  times.load = MedianOf([&] { road.engine().LoadState(file.c_str()); });
  road.engine().SaveState(file.c_str());
  const auto plain = static_cast<OrvWorkFlow::IDictionary*>(
      OrvWorkFlow::WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
  times.plain_load = MedianOf([&] { plain->LoadFile(file.c_str()); });
  times.plain_save = MedianOf([&] { plain->SaveFile(file.c_str()); });
  plain->Release();
  return times;
}

void SavedQueues() {
  EngineRoad road(1, Host::kNone);
  road.engine().AddSignalMapping("Sender", "left", "idle", nullptr, nullptr, "Receiver", "0", "hello");
  const std::string file = (std::filesystem::temp_directory_path() / "signals_bench.xml").string();
  const SavedTimes small = MeasureSaved(road, 10000, file);
  const SavedTimes large = MeasureSaved(road, 90000, file);  // added to the others
  std::filesystem::remove(file);
  std::printf("10^5 queued entries: saved in %.0f ms, loaded in %.0f ms; the dictionary alone %.0f ms and %.0f ms\n",
              large.save / 1e6, large.load / 1e6, large.plain_save / 1e6, large.plain_load / 1e6);
  Judge("save of 10^5 entries / 10 saves of 10^4", large.save / small.save / 10, "linear", 1.6);
  Judge("load of 10^5 entries / 10 loads of 10^4", large.load / small.load / 10, "linear", 1.6);
  Judge("save / a dictionary's save of as many entries", large.save / large.plain_save, "three times", 3);
  Judge("load / a dictionary's load of as many entries", large.load / large.plain_load, "three times", 3);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) deliveries = std::atol(argv[1]);
  if (argc > 2) rounds = std::atoi(argv[2]);
  if (deliveries < 100 || rounds < 1) {
    std::fprintf(stderr, "usage: signals_bench [DELIVERIES] [ROUNDS]\n");
    return 2;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  RaceAll();
  Backlogs();
  Growth();
  Writing();
  ManySignals();
  SavedQueues();
  std::printf("%d limits missed\n", failures);
  return 0;
}
