// Loading, saving, reading and writing a dictionary, beside pugixml (whole files) and GLib's GKeyFile (values by name).
//
//   dictionary_bench [ENTRIES...]    (defaults: 1000 100000; 1000000 takes a minute)
//
// The dictionary is used as a host does, through the built library. All peers of a row run in turn, five rounds; the
// median counts. "ratio" is the dictionary's time by the peer's: below 1 the dictionary is faster.
#include <glib.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/WorkFlowFactory.h"

namespace {

using namespace OrvWorkFlow;

constexpr int kRounds = 5;
constexpr std::size_t kLookups = 200'000;

struct ReleaseIt {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};
using DictionaryHolder = std::unique_ptr<IDictionary, ReleaseIt>;

[[noreturn]] void Stop(const char* what) {
  std::fprintf(stderr, "dictionary_bench: %s\n", what);
  std::exit(1);
}
void Check(bool done, const char* what) {
  if (!done) Stop(what);
}

DictionaryHolder MakeDictionary() {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("Dictionary");
  Check(object != nullptr, "the library registers no dictionary");
  return DictionaryHolder(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
}

// One thing that is measured: `prepare` is not.
struct Peer {
  const char* name;
  std::function<void()> run;
  std::function<void()> prepare = [] {};
  std::vector<double> nanoseconds = {};

  double median() {
    std::sort(nanoseconds.begin(), nanoseconds.end());
    return nanoseconds[nanoseconds.size() / 2];
  }
};

// Runs the peers in turn and prints a row: nanoseconds per item of each, and the first one's ratio to each other.
void Measure(const char* what, std::size_t items, std::vector<Peer> peers) {
  for (int round = 0; round <= kRounds; ++round) {
    for (Peer& peer : peers) {
      peer.prepare();
      const auto begin = std::chrono::steady_clock::now();
      peer.run();
      const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
      if (round > 0) peer.nanoseconds.push_back(time.count() / static_cast<double>(items));
    }
  }
  const double own = peers.front().median();
  std::printf("  %-34s %9.1f ns", what, own);
  for (std::size_t i = 1; i < peers.size(); ++i) {
    std::printf("   %s %.1f ns, ratio %.2f", peers[i].name, peers[i].median(), own / peers[i].median());
  }
  std::printf("\n");
}

// Four levels; the leaves are the entries, of mixed types.
std::string GroupOf(std::size_t i) {
  return "area" + std::to_string(i / 10000) + "/part" + std::to_string(i / 100 % 100) + "/group" +
         std::to_string(i / 10 % 10);
}
std::string PathOf(std::size_t i) { return "/" + GroupOf(i) + "/value" + std::to_string(i % 10); }

void Fill(IDictionary& dictionary, std::size_t entries) {
  for (std::size_t i = 0; i < entries; ++i) {
    const std::string path = PathOf(i);
    const auto number = static_cast<std::int32_t>(i);
    bool done = false;
    switch (i % 5) {
      case 0:
      case 1:
        done = dictionary.SetValue(path.c_str(), number);
        break;
      case 2:
        done = dictionary.SetValue(path.c_str(), ("the text of entry " + std::to_string(i)).c_str());
        break;
      case 3:
        done = dictionary.SetValue(path.c_str(), number * 1.25);
        break;
      default:
        done = dictionary.SetValue(path.c_str(), number % 2 == 0);
    }
    Check(done, "an entry cannot be set");
  }
}

double HeapBytes() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

template <class Load>
double BytesPerEntry(std::size_t entries, Load load) {
  const double before = HeapBytes();
  const auto kept = load();
  return (HeapBytes() - before) / static_cast<double>(entries);
}

void MeasureFiles(std::size_t entries, const std::string& directory) {
  const std::string file = directory + "/dictionary.xml";
  const std::string copy = directory + "/copy.xml";
  DictionaryHolder filled = MakeDictionary();
  Fill(*filled, entries);
  Check(filled->SaveFile(file.c_str()), "the file cannot be saved");
  const auto bytes = static_cast<double>(std::filesystem::file_size(file));
  std::printf("%zu entries, %.1f bytes an entry\n", entries, bytes / static_cast<double>(entries));

  DictionaryHolder loaded;
  pugi::xml_document document;
  Measure("load a file", entries,
          {{"dictionary", [&] { Check(loaded->LoadFile(file.c_str()), "the file cannot be loaded"); },
            [&] { loaded = MakeDictionary(); }},
           {"pugixml", [&] { Check(document.load_file(file.c_str()), "pugixml cannot load the file"); },
            [&] { document.reset(); }}});
  Measure("save a file", entries,
          {{"dictionary", [&] { Check(loaded->SaveFile(copy.c_str()), "the file cannot be saved"); }},
           {"pugixml",
            [&] { Check(document.save_file(copy.c_str(), "\t", pugi::format_raw), "pugixml cannot save the file"); }}});
  loaded.reset();
  document.reset();
  const double own = BytesPerEntry(entries, [&] {
    DictionaryHolder dictionary = MakeDictionary();
    Check(dictionary->LoadFile(file.c_str()), "the file cannot be loaded");
    return dictionary;
  });
  const double other = BytesPerEntry(entries, [&] {
    auto tree = std::make_unique<pugi::xml_document>();
    Check(tree->load_file(file.c_str()), "pugixml cannot load the file");
    return tree;
  });
  std::printf("  %-34s %9.1f B    pugixml %.1f B, ratio %.2f\n", "memory after loading", own, other, own / other);
}

// Where a value stands: as a path, and as group and key.
struct Place {
  std::string path;
  std::string group;
  std::string key;
};

struct KeyFileFree {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};

// Integers at the places, read and written in random order.
void MeasureValues(const char* shape, const std::vector<Place>& places) {
  DictionaryHolder dictionary = MakeDictionary();
  const std::unique_ptr<GKeyFile, KeyFileFree> keys(g_key_file_new());
  for (const Place& place : places) {
    Check(dictionary->SetValue(place.path.c_str(), std::int32_t{1}), "an entry cannot be set");
    g_key_file_set_integer(keys.get(), place.group.c_str(), place.key.c_str(), 1);
  }
  std::mt19937 engine(1);
  std::vector<const Place*> order(kLookups);
  for (const Place*& place : order) place = &places[engine() % places.size()];

  std::int64_t sum = 0;
  const auto get_own = [&](const Place& place) {
    std::int32_t value = 0;
    Check(dictionary->GetValue(place.path.c_str(), &value), "an entry cannot be read");
    return value;
  };
  const auto get_key = [&](const Place& place) {
    return g_key_file_get_integer(keys.get(), place.group.c_str(), place.key.c_str(), nullptr);
  };
  const auto for_all = [&](auto&& use) {
    return [&order, use] {
      for (const Place* place : order) use(*place);
    };
  };
  Measure((std::string(shape) + ": get an integer").c_str(), kLookups,
          {{"dictionary", for_all([&](const Place& place) { sum += get_own(place); })},
           {"GKeyFile", for_all([&](const Place& place) { sum += get_key(place); })}});
  Measure((std::string(shape) + ": get and set an integer").c_str(), kLookups,
          {{"dictionary",
            for_all([&](const Place& place) { dictionary->SetValue(place.path.c_str(), get_own(place) % 1000 + 1); })},
           {"GKeyFile", for_all([&](const Place& place) {
              g_key_file_set_integer(keys.get(), place.group.c_str(), place.key.c_str(), get_key(place) % 1000 + 1);
            })}});
  Check(sum > 0, "the values are lost");
}

void MeasureAll(std::size_t entries, const std::string& directory) {
  MeasureFiles(entries, directory);
  std::vector<Place> tree;
  std::vector<Place> wide;
  for (std::size_t i = 0; i < entries; ++i) {
    tree.push_back({PathOf(i), GroupOf(i), "value" + std::to_string(i % 10)});
    const std::string key = "value" + std::to_string(i);
    wide.push_back({"/wide/" + key, "wide", key});
  }
  MeasureValues("tree", tree);
  MeasureValues("one wide element", wide);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::size_t> sizes;
  for (int i = 1; i < argc; ++i) sizes.push_back(static_cast<std::size_t>(std::strtoul(argv[i], nullptr, 10)));
  if (sizes.empty()) sizes = {1000, 100'000};
  if (std::find(sizes.begin(), sizes.end(), 0) != sizes.end()) Stop("usage: dictionary_bench [ENTRIES...]");
  Check(WorkFlowFactory::CreateNewGlobalObject("FileSystem") != nullptr, "the library registers no file system");

  const std::filesystem::path memory_disk = "/dev/shm";
  const std::filesystem::path base =
      std::filesystem::exists(memory_disk) ? memory_disk : std::filesystem::temp_directory_path();
  std::string directory = (base / "dictionary_bench_XXXXXX").string();
  Check(mkdtemp(directory.data()) != nullptr, "no temporary directory can be made");
  for (const std::size_t entries : sizes) MeasureAll(entries, directory);
  std::filesystem::remove_all(directory);
  WorkFlowFactory::ReleaseGlobalObjects();
  return 0;
}
