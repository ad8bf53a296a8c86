// Peers of one piece of work, measured in turn, and the row of the table that comes of it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace DictionaryBench {

[[noreturn]] void Stop(const char* what);
// Ends the program when something has not worked: what is measured must have been done.
void Check(bool done, const char* what);

// One thing that is measured; `prepare` is not.
struct Peer {
  std::string name;
  std::function<void()> run;
  std::function<void()> prepare = [] {};
};

// The dictionary's time must not exceed `share` of the best time of the peers named here, as far as they take part.
struct Target {
  double share = 0;
  std::vector<std::string> peers = {};
};

// Runs the peers in turn, five rounds, and prints a row: the nanoseconds of processor time per item of each (medians),
// the first one's ratio to the best of the others, and whether the target is met. Answers the first one's nanoseconds.
double Measure(const std::string& what, std::size_t items, const Target& target, const std::vector<Peer>& peers);

// A row for a figure that has a limit of its own.
void PrintLimit(const std::string& what, double value, double limit, const char* unit);

// Bytes of memory that the process holds, after unused ones have gone back to the system.
double ResidentBytes();

// True when every target so far was met.
bool AllMet();

}  // namespace DictionaryBench
