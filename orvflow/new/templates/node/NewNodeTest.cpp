// The node NewNode on a bench, as a host loads it: what it fires and writes, and that a kill loses nothing. The one
// argument is the plug-in's file.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/NodeBench.h"

namespace {

using OrvWorkFlow::Sdk::NodeBench;
using Lines = std::vector<std::string>;

int failures = 0;

void Expect(bool is_so, const char* what) {
  if (is_so) return;
  std::fprintf(stderr, "not so: %s\n", what);
  ++failures;
}

void ItCountsASignal(const char* plugin) {
  NodeBench bench(plugin, "NewNode");
  Expect(bench.Signal("go"), "it takes the signal");
  Expect(bench.TakeFired() == Lines{"done"}, "it fires done");
  Expect(bench.TakeWritten() == Lines{"/NewNode/Bench/Count:int=1"}, "it writes the count");
  Expect(!bench.Signal("stand"), "it refuses other signals");
}

void ItFailsAtTheLimit(const char* plugin) {
  NodeBench bench(plugin, "NewNode");
  bench.SetParameter("Limit", 1);
  bench.Signal("go");
  bench.Signal("go");
  Expect(bench.TakeFired() == Lines{"done", "failed"}, "the second signal is beyond the limit");
  Expect(bench.TextAt("/NewNode/Bench/Count") == "1", "it is not counted");
}

void AKillLosesNothing(const char* plugin) {
  NodeBench bench(plugin, "NewNode");
  bench.Signal("go");
  bench.Kill();
  bench.Signal("go");
  Expect(bench.TextAt("/NewNode/Bench/Count") == "2", "the next object goes on");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    ItCountsASignal(argv[1]);
    ItFailsAtTheLimit(argv[1]);
    AKillLosesNothing(argv[1]);
  } catch (const std::exception& error) {
    Expect(false, error.what());
  }
  return failures == 0 ? 0 : 1;
}
