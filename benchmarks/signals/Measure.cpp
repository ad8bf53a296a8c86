#include "benchmarks/signals/Measure.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace signals_bench {

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

}  // namespace signals_bench
