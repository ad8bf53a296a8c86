// What watches on some entries cost the writes to others.
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "dictionary/DictionaryCases.h"
#include "dictionary/Peers.h"

namespace DictionaryBench {

namespace {

constexpr std::size_t kEntries = 1000;
constexpr std::size_t kWrites = 200'000;

struct EndWatch {
  void operator()(OrvWorkFlow::IDictionaryWatch* watch) const { watch->Release(); }
};
using Watch = std::unique_ptr<OrvWorkFlow::IDictionaryWatch, EndWatch>;

// Like those that engine and mediator keep.
std::vector<Watch> WatchSomeEntries(OrvWorkFlow::IDictionary& dictionary) {
  constexpr std::array<const char*, 4> kPatterns = {"/WorkFlowEngine/WorkNodes/*/Instances/*/maps",
                                                    "/WorkFlowEngine/Mappings", "/WorkFlowEngine/AbsorbTree",
                                                    "/WorkFlowEngine/Directories"};
  std::vector<Watch> watches;
  for (const char* const& pattern : kPatterns) {
    watches.emplace_back(dictionary.WatchChanges(&pattern, 1));
    Check(watches.back() != nullptr, "no watch");
  }
  return watches;
}

void Write(OrvWorkFlow::IDictionary& dictionary, const std::vector<std::string>& paths) {
  for (std::size_t i = 0; i < kWrites; ++i) {
    dictionary.SetValue(paths[i % paths.size()].c_str(), static_cast<std::int32_t>(i));
  }
}

}  // namespace

void MeasureWatches() {
  std::printf("writes while other entries are watched\n");
  const DictionaryHolder watched = MakeDictionary();
  const DictionaryHolder unwatched = MakeDictionary();
  std::vector<std::string> paths;
  for (std::size_t i = 0; i < kEntries; ++i) paths.push_back("/Values/Node/n" + std::to_string(i) + "/Count");
  for (const DictionaryHolder* dictionary : {&watched, &unwatched}) Write(**dictionary, paths);
  const std::vector<Watch> watches = WatchSomeEntries(*watched);
  Measure("set an integer", kWrites, {1.5, {"unwatched"}},
          {{"watched", [&] { Write(*watched, paths); }}, {"unwatched", [&] { Write(*unwatched, paths); }}});
}

}  // namespace DictionaryBench
