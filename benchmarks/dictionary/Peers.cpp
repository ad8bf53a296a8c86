#include "dictionary/Peers.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace DictionaryBench {
namespace {

constexpr int kRounds = 5;
bool all_met = true;

const char* Verdict(bool met) {
  all_met = all_met && met;
  return met ? "PASS" : "FAIL";
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Of the processor, so that what else runs on the machine does not count.
double Now() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double TimeOf(const Peer& peer) {
  peer.prepare();
  const double begin = Now();
  peer.run();
  return Now() - begin;
}

void PrintVerdict(const Target& target, const std::vector<Peer>& peers, const std::vector<double>& medians) {
  double best = std::numeric_limits<double>::infinity();
  std::string names;
  for (std::size_t i = 1; i < peers.size(); ++i) {
    if (std::find(target.peers.begin(), target.peers.end(), peers[i].name) == target.peers.end()) continue;
    best = std::min(best, medians[i]);
    names += (names.empty() ? "" : ", ") + peers[i].name;
  }
  if (names.empty()) return;
  std::printf("  at most %.2f of %s: %s", target.share, names.c_str(), Verdict(medians[0] <= target.share * best));
}

}  // namespace

void Stop(const char* what) {
  std::fprintf(stderr, "dictionary_bench: %s\n", what);
  std::exit(2);
}

void Check(bool done, const char* what) {
  if (!done) Stop(what);
}

double Measure(const std::string& what, std::size_t items, const Target& target, const std::vector<Peer>& peers) {
  std::vector<std::vector<double>> times(peers.size());
  for (int round = 0; round <= kRounds; ++round) {
    for (std::size_t i = 0; i < peers.size(); ++i) {
      const double time = TimeOf(peers[i]);
      if (round > 0) times[i].push_back(time / static_cast<double>(items));  // The first one warms up.
    }
  }
  std::vector<double> medians;
  for (const std::vector<double>& own : times) medians.push_back(Median(own));
  std::printf("  %-30s %8.1f ns ", what.c_str(), medians[0]);
  for (std::size_t i = 1; i < peers.size(); ++i) std::printf(" %s %.1f,", peers[i].name.c_str(), medians[i]);
  if (peers.size() > 1) {
    std::printf(" ratio to the best %.2f", medians[0] / *std::min_element(medians.begin() + 1, medians.end()));
  }
  PrintVerdict(target, peers, medians);
  std::printf("\n");
  std::fflush(stdout);
  return medians[0];
}

void PrintLimit(const std::string& what, double value, double limit, const char* unit) {
  std::printf("  %-30s %8.1f %s  at most %.1f: %s\n", what.c_str(), value, unit, limit, Verdict(value <= limit));
}

double ResidentBytes() {
  malloc_trim(0);
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  unsigned long pages = 0;
  unsigned long resident = 0;
  Check(file != nullptr && std::fscanf(file, "%lu %lu", &pages, &resident) == 2, "no memory figures");
  std::fclose(file);
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

bool AllMet() { return all_met; }

}  // namespace DictionaryBench
