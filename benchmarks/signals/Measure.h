// How long things take, and whether that is within what they may take.
#pragma once

#include <functional>
#include <vector>

namespace signals_bench {

using Action = std::function<void()>;

// How much each measurement does and how often; set once, at the beginning.
extern long deliveries;
extern int rounds;
// So many limits were missed.
extern int failures;

double Nanoseconds(const Action& action);
double Median(std::vector<double> values);
// Of all rounds.
double MedianOf(const Action& action);

void Judge(const char* what, double value, const char* limit_text, double limit);

}  // namespace signals_bench
