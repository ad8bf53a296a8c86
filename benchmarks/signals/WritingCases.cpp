// Nodes that write to the dictionary at each signal, as nearly all real ones do.
#include <cstdio>
#include <string>
#include <vector>

#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"
#include "tests/support/MarshalledTexts.h"

namespace signals_bench {

namespace {

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

}  // namespace

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

}  // namespace signals_bench
