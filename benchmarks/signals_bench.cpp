// What a signal costs on the way from a node's output to the next node's input, through the real engine, mediator and
// dictionary of the built library, beside other ways from thread to thread; and whether that depends on how much there
// is of anything. Peers run in turns with the library, in the same rounds; medians count.
//
//   signals_bench [DELIVERIES] [ROUNDS] [CASE]    (defaults: 200000, 5 and all cases)
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "benchmarks/signals/Measure.h"
#include "benchmarks/signals/SignalCases.h"

namespace {

using namespace signals_bench;

struct Case {
  std::string_view name;
  void (*run)();
};

constexpr Case kCases[] = {
    {"races", &RaceAll},
    {"gui_thread", &RaceAcrossGuiThread},
    {"round_trips", &RaceRoundTrips},
    {"backlogs", &Backlogs},
    {"growth", &Growth},
    {"writing", &Writing},
    {"signals", &ManySignals},
    {"options", &Options},
    {"absorbing", &Absorbing},
    {"saved_queues", &SavedQueues},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) deliveries = std::atol(argv[1]);
  if (argc > 2) rounds = std::atoi(argv[2]);
  const std::string_view wanted = argc > 3 ? argv[3] : "";
  if (deliveries < 100 || rounds < 1) {
    std::fprintf(stderr, "usage: signals_bench [DELIVERIES] [ROUNDS] [CASE]\n");
    return 2;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  for (const Case& each : kCases) {
    if (wanted.empty() || wanted == each.name) each.run();
  }
  std::printf("%d limits missed\n", failures);
  return 0;
}
