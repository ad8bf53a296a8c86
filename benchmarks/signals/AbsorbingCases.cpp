// Taking in a workflow beside many that were taken in before.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"
#include "tests/support/MarshalledTexts.h"

namespace signals_bench {

namespace {

using OrvWorkFlow::IDictionary;

constexpr int kFlows = 1050;
constexpr int kWindow = 50;

std::string FlowFile(const std::filesystem::path& folder, int number) {
  return (folder / ("flow" + std::to_string(number) + ".xml")).string();
}

// One node, which is started, with a mapping and a directory.
void WriteFlow(const std::string& file, int number) {
  const std::string name = "Flow" + std::to_string(number);
  auto* const flow = static_cast<IDictionary*>(
      OrvWorkFlow::WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
  const auto set = [&](const std::string& path, const std::string& value) {
    flow->SetValue(("/WorkFlowEngine" + path).c_str(), value.c_str());
  };
  const std::string instance = "/WorkNodes/Receiver/Instances/" + name;
  set("/WorkFlowName", name);
  set("/WorkNodes/Receiver/Binaries/win32_bin", "CoreObjects");
  set(instance + "/wfName", name);
  set(instance + "/maps/hit/map0", "Receiver,0,ball");
  set("/Mappings/StartSignal/ReceiverTypeName", "Receiver");
  set("/Mappings/StartSignal/ReceiverInstanceName", name);
  set("/Mappings/StartSignal/IncomingSignalName", "hello");
  const orv_test::PStringList directories(std::vector<std::string>{"$" + name + "/in"});
  flow->SetValue(("/WorkFlowEngine/Directories/" + name + "/ReadDirs").c_str(), directories.out());
  flow->SaveFile(file.c_str());
  flow->Release();
}

void JudgeGrowth(const char* what, const std::vector<double>& times) {
  const double few = Median({times.begin() + 5, times.begin() + 5 + kWindow});
  const double many = Median({times.end() - kWindow, times.end()});
  std::printf("%s: %.0f us beside 30 others, %.0f us beside 1,000\n", what, few / 1e3, many / 1e3);
  Judge((std::string(what) + ": beside 1,000 / beside 30").c_str(), many / few, "does not grow", 1.3);
}

// With `starts`, each is started, and so its node is made: absorbing asks every node whether it absorbs.
void MeasureAbsorbing(const std::filesystem::path& folder, bool starts) {
  EngineRoad road(1, Host::kNone);
  std::vector<double> absorbing;
  std::vector<double> starting;
  for (int i = 0; i < kFlows; ++i) {
    const std::string file = FlowFile(folder, i);
    absorbing.push_back(Nanoseconds([&] { road.engine().AbsorbFlow(file.c_str(), false); }));
    if (!starts) continue;
    starting.push_back(Nanoseconds([&] {
      road.engine().AbsorbFlow(file.c_str(), true);  // Known by now: only its start signal is queued.
      Drain(road);
    }));
  }
  JudgeGrowth(starts ? "absorbing a workflow, the others' nodes made" : "absorbing a workflow", absorbing);
  if (starts) JudgeGrowth("its start, with the node made", starting);
}

}  // namespace

void Absorbing() {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "signals_bench_flows";
  std::filesystem::create_directories(folder);
  {
    const EngineRoad road(1, Host::kNone);
    for (int i = 0; i < kFlows; ++i) WriteFlow(FlowFile(folder, i), i);
  }
  for (const bool starts : {false, true}) MeasureAbsorbing(folder, starts);
  std::filesystem::remove_all(folder);
}

}  // namespace signals_bench
