// A signal takes as long however much there is of anything.
#include <malloc.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"

namespace signals_bench {

namespace {

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

}  // namespace

void Drain(EngineRoad& road) {
  OrvWorkFlow::IWorkFlowEngine::QueueState state;
  do {
    std::this_thread::yield();
    road.engine().GetQueueState(&state);
  } while (state.waiting != 0 || state.firing);
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

}  // namespace signals_bench
