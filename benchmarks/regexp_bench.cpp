// Searching dictionary paths for patterns beside std::regex and, where they are installed, PCRE2's interpreter, boost
// and RE2; then long texts, on which backtracking matchers take quadratic time or overflow the stack.
//
//   regexp_bench [ROUNDS]    (default 7; peers take turns in each round, the median counts; processor time is measured)
//
// Exit code 1 when a goal is missed: on paths faster than PCRE2's interpreter and boost, and than std::regex by five
// times; the object, which has to find its pattern first, within half of that.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "CoreObjects/CoreObjects.h"
#include "OrvWorkFlow/IRegExp.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "regexp/Pattern.h"

#if defined(ORV_HAS_PCRE2)
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#endif
#if defined(ORV_HAS_BOOST)
#include <boost/regex.hpp>
#endif
#if defined(ORV_HAS_RE2)
#include <re2/re2.h>
#endif

namespace {

using Texts = std::vector<std::string>;

// A compiled pattern of one of the peers; says whether it is found.
class Searcher {
 public:
  Searcher() = default;
  Searcher(const Searcher&) = delete;
  Searcher& operator=(const Searcher&) = delete;
  virtual ~Searcher() = default;
  virtual bool Search(const std::string& text) = 0;
};

class OwnSearcher final : public Searcher {
 public:
  explicit OwnSearcher(const char* pattern) { pattern_.Compile(pattern); }
  bool Search(const std::string& text) override { return pattern_.Search(text); }

 private:
  OrvWorkFlow::Core::Patterns::Pattern pattern_;
};

class StdSearcher final : public Searcher {
 public:
  explicit StdSearcher(const char* pattern) : regex_(pattern) {}
  bool Search(const std::string& text) override { return std::regex_search(text, regex_); }

 private:
  std::regex regex_;
};

#if defined(ORV_HAS_PCRE2)
class Pcre2Searcher final : public Searcher {
 public:
  explicit Pcre2Searcher(const char* pattern) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, PCRE2_DOTALL, &error, &offset,
                          nullptr);
    match_ = pcre2_match_data_create_from_pattern(code_, nullptr);
  }
  ~Pcre2Searcher() override {
    pcre2_match_data_free(match_);
    pcre2_code_free(code_);
  }
  bool Search(const std::string& text) override {
    return pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0, match_, nullptr) >= 0;
  }

 private:
  pcre2_code* code_ = nullptr;
  pcre2_match_data* match_ = nullptr;
};
#endif

#if defined(ORV_HAS_BOOST)
class BoostSearcher final : public Searcher {
 public:
  explicit BoostSearcher(const char* pattern) : regex_(pattern) {}
  bool Search(const std::string& text) override {
    try {
      return boost::regex_search(text, regex_);
    } catch (const std::exception&) {  // It gives up on some long texts.
      return false;
    }
  }

 private:
  boost::regex regex_;
};
#endif

#if defined(ORV_HAS_RE2)
class Re2Searcher final : public Searcher {
 public:
  explicit Re2Searcher(const char* pattern) : regex_(pattern) {}
  bool Search(const std::string& text) override { return RE2::PartialMatch(text, regex_); }

 private:
  RE2 regex_;
};
#endif

struct ReleaseIt {
  void operator()(OrvWorkFlow::IRegExp* object) const { object->Release(); }
};

// The object as nodes have it, which takes the pattern at each call.
class ObjectSearcher final : public Searcher {
 public:
  explicit ObjectSearcher(const char* pattern) : pattern_(pattern) {
    using namespace OrvWorkFlow;
    IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kRegExp);
    if (object != nullptr) object_.reset(static_cast<IRegExp*>(object->QueryInterface(InterfaceNames::kRegExp)));
  }
  bool Search(const std::string& text) override { return object_->MatchNarrow(text.c_str(), pattern_.c_str()); }

 private:
  std::string pattern_;
  std::unique_ptr<OrvWorkFlow::IRegExp, ReleaseIt> object_;
};

struct Peer {
  const char* name;
  std::unique_ptr<Searcher> (*compile)(const char* pattern);
  bool (*compile_and_search)(const char* pattern, const std::string& text);
  double goal;            // How many times faster we want to be; 0 for none.
  std::size_t long_text;  // The longest of the long texts that it takes without crashing or taking minutes.
};

template <class T>
Peer MakePeer(const char* name, double goal, std::size_t long_text) {
  Peer peer;
  peer.name = name;
  peer.compile = [](const char* pattern) -> std::unique_ptr<Searcher> { return std::make_unique<T>(pattern); };
  peer.compile_and_search = [](const char* pattern, const std::string& text) { return T(pattern).Search(text); };
  peer.goal = goal;
  peer.long_text = long_text;
  return peer;
}

std::vector<Peer> AllPeers() {
  std::vector<Peer> peers;
  peers.push_back(MakePeer<OwnSearcher>("own", 0, 1'000'000));
  peers.push_back(MakePeer<StdSearcher>("std", 5, 2'000));
#if defined(ORV_HAS_PCRE2)
  peers.push_back(MakePeer<Pcre2Searcher>("PCRE2", 1, 2'000));
#endif
#if defined(ORV_HAS_BOOST)
  peers.push_back(MakePeer<BoostSearcher>("boost", 1, 2'000));
#endif
#if defined(ORV_HAS_RE2)
  peers.push_back(MakePeer<Re2Searcher>("RE2", 0, 1'000'000));
#endif
  return peers;
}

// Paths of about 55 characters as a workflow's dictionary has them; every third is a mapping.
Texts MakePaths() {
  static constexpr const char* kReceivers[] = {"Collector", "Verifier", "Reporter", "Encryptor"};
  Texts paths;
  for (int i = 0; i < 60; ++i) {
    const std::string node = "/WorkFlowEngine/SignalMappings/node_" + std::to_string(100 + i);
    const std::string receiver = kReceivers[i % 4];
    paths.push_back(i % 3 == 0 ? node + "/maps/" + receiver
                               : node + "/queue/entry" + std::to_string(i) + "/" + receiver);
  }
  return paths;
}

double ProcessorNanoseconds(const std::function<void()>& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) * 1e9 / CLOCKS_PER_SEC;
}

// Repeats `work` for about 8 ms and gives the time of one repetition.
double TimeOf(const std::function<void()>& work) {
  for (long repetitions = 1;; repetitions *= 4) {
    const double time = ProcessorNanoseconds([&] {
      for (long i = 0; i < repetitions; ++i) work();
    });
    if (time > 8e6) return time / static_cast<double>(repetitions);
  }
}

// Each work's median time over the rounds.
std::vector<double> MedianTimes(const std::vector<std::function<void()>>& works, int rounds) {
  std::vector<std::vector<double>> times(works.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < works.size(); ++i) times[i].push_back(TimeOf(works[i]));
  }
  std::vector<double> medians;
  for (std::vector<double>& of_work : times) {
    std::nth_element(of_work.begin(), of_work.begin() + rounds / 2, of_work.end());
    medians.push_back(of_work[static_cast<std::size_t>(rounds / 2)]);
  }
  return medians;
}

class Table {
 public:
  Table(const std::vector<Peer>& peers, int rounds) : peers_(peers), rounds_(rounds) {}

  // `share` of each goal has to be reached.
  void PrintHead(const char* title, double share) {
    share_of_goals_ = share;
    std::printf("\n%-44s", title);
    for (const Peer& peer : peers_) std::printf(" %17s", peer.name);
    std::printf("\n");
  }

  // `make` gives a peer's work, or none when it does not take part; `scale` what the time is divided by.
  void PrintRow(const std::string& label, double scale, const std::function<std::function<void()>(const Peer&)>& make) {
    std::vector<std::function<void()>> works;
    std::vector<const Peer*> runners;
    for (const Peer& peer : peers_) {
      std::function<void()> work = make(peer);
      if (!work) continue;
      works.push_back(std::move(work));
      runners.push_back(&peer);
    }
    const std::vector<double> times = MedianTimes(works, rounds_);
    std::map<const Peer*, double> time_of;
    for (std::size_t i = 0; i < runners.size(); ++i) time_of[runners[i]] = times[i];
    std::printf("%-44s", label.c_str());
    for (const Peer& peer : peers_) PrintCell(peer, time_of, scale);
    std::printf("\n");
  }

  bool met() const { return met_; }

 private:
  void PrintCell(const Peer& peer, const std::map<const Peer*, double>& time_of, double scale) {
    const auto found = time_of.find(&peer);
    if (found == time_of.end()) {
      std::printf(" %17s", "-");
      return;
    }
    const double ratio = found->second / time_of.at(&peers_.front());
    const bool missed = ratio < share_of_goals_ * peer.goal;
    met_ = met_ && !missed;
    std::printf(" %8.1f %6.3gx%c", found->second / scale, ratio, missed ? '!' : ' ');
  }

  const std::vector<Peer>& peers_;
  const int rounds_;
  double share_of_goals_ = 0;
  bool met_ = true;
};

volatile long found_count = 0;

void PathTables(Table& table, const Texts& paths) {
  const auto texts = static_cast<double>(paths.size());
  static constexpr const char* kPatterns[] = {
      ".*", "^/a/b$", "Engine", "^/WorkFlowEngine/.*/maps/[A-Z][a-z]+$", "(a|b)*c", "(maps|queue)/[a-z]+[0-9]+/R"};
  table.PrintHead("search a path, compiled before (ns)", 1);
  for (const char* pattern : kPatterns) {
    table.PrintRow(pattern, texts, [&](const Peer& peer) {
      const std::shared_ptr<Searcher> searcher = peer.compile(pattern);
      return [&paths, searcher] {
        long found = 0;
        for (const std::string& path : paths) found += searcher->Search(path) ? 1 : 0;
        found_count = found;
      };
    });
  }
  // Beside peers that a program keeps compiled by itself.
  table.PrintHead("the object, the same pattern at each call (ns)", 0.5);
  for (const char* pattern : kPatterns) {
    table.PrintRow(pattern, texts, [&](const Peer& peer) {
      const bool own = std::string_view(peer.name) == "own";
      const std::shared_ptr<Searcher> searcher =
          own ? std::shared_ptr<Searcher>(std::make_shared<ObjectSearcher>(pattern)) : peer.compile(pattern);
      return [&paths, searcher] {
        long found = 0;
        for (const std::string& path : paths) found += searcher->Search(path) ? 1 : 0;
        found_count = found;
      };
    });
  }
  table.PrintHead("compile and search (ns)", 1);
  for (const char* pattern : kPatterns) {
    table.PrintRow(pattern, 1, [&](const Peer& peer) {
      return [&paths, &peer, pattern] { found_count = peer.compile_and_search(pattern, paths.front()) ? 1 : 0; };
    });
  }
}

void LongTables(Table& table) {
  table.PrintHead("long texts of a and b (ns a character)", 0);
  for (const std::size_t length : {2'000U, 100'000U, 1'000'000U}) {
    std::string text;
    while (text.size() < length) text += "ab";
    const std::pair<const char*, std::string> cases[] = {
        {"(a|b)*c", "c"}, {"(ab|ba)*c", "c"}, {"(a|b)*c", ""}, {"(a|b)*c$", "cx"}, {"(ab|ba)*c$", "cx"}};
    for (const auto& [pattern, tail] : cases) {
      const std::string whole = text + tail;
      const std::string label = std::string(pattern) + " on " + std::to_string(length) + " and \"" + tail + '"';
      table.PrintRow(label, static_cast<double>(length),
                     [&, name = pattern](const Peer& peer) -> std::function<void()> {
                       if (length > peer.long_text) return {};
                       const std::shared_ptr<Searcher> searcher = peer.compile(name);
                       return [searcher, &whole] { found_count = searcher->Search(whole) ? 1 : 0; };
                     });
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
  const std::vector<Peer> peers = AllPeers();
  std::printf(
      "time, and how many times ours; %d rounds; \"-\" where the peer crashes or takes minutes; ! misses a goal\n",
      rounds);
  Table table(peers, rounds);
  PathTables(table, MakePaths());
  LongTables(table);
  std::printf("\n%s\n", table.met() ? "all goals met" : "goals missed");
  return table.met() ? 0 : 1;
}
