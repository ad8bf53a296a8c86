#include "benchmarks/signals/Road.h"

namespace signals_bench {

std::unique_ptr<Road> MakeQtRoad(long /*receivers*/) { return nullptr; }
std::unique_ptr<Road> MakeQtEchoRoad() { return nullptr; }

}  // namespace signals_bench
