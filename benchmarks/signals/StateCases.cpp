// Saving and loading a state with many waiting signals.
#include <cstdio>
#include <filesystem>
#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"

namespace signals_bench {

namespace {

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

}  // namespace

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

}  // namespace signals_bench
