// Loading, saving, reading and writing a dictionary, beside pugixml, rapidxml, GLib's GKeyFile, boost property_tree and
// nlohmann json pointers, as far as they are installed.
//
//   dictionary_bench [ENTRIES...]    (defaults: 1000 100000; 1000000 takes some minutes)
//
// The dictionary is used as a host does, through the built library. Each row with a target says whether it is met.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "dictionary/DictionaryCases.h"
#include "dictionary/Peers.h"

namespace DictionaryBench {

DictionaryHolder MakeDictionary() {
  OrvWorkFlow::IBaseWorkFlowObject* object = OrvWorkFlow::WorkFlowFactory::CreateNewObject("Dictionary");
  Check(object != nullptr, "the library registers no dictionary");
  return DictionaryHolder(static_cast<OrvWorkFlow::IDictionary*>(object->QueryInterface("IDictionary")));
}

}  // namespace DictionaryBench

int main(int argc, char** argv) {
  using namespace DictionaryBench;
  std::vector<std::size_t> sizes;
  for (int i = 1; i < argc; ++i) sizes.push_back(static_cast<std::size_t>(std::strtoul(argv[i], nullptr, 10)));
  if (sizes.empty()) sizes = {1000, 100'000};
  if (std::find(sizes.begin(), sizes.end(), 0) != sizes.end()) Stop("usage: dictionary_bench [ENTRIES...]");
  Check(OrvWorkFlow::WorkFlowFactory::CreateNewGlobalObject("FileSystem") != nullptr,
        "the library registers no file system");

  const std::filesystem::path memory_disk = "/dev/shm";
  const std::filesystem::path base =
      std::filesystem::exists(memory_disk) ? memory_disk : std::filesystem::temp_directory_path();
  std::string directory = (base / "dictionary_bench_XXXXXX").string();
  Check(mkdtemp(directory.data()) != nullptr, "no temporary directory can be made");
  MeasureFiles(sizes, directory);
  MeasureValues(std::max<std::size_t>(100, *std::max_element(sizes.begin(), sizes.end())));
  MeasureWatches();
  MeasureLists(directory);
  std::filesystem::remove_all(directory);
  OrvWorkFlow::WorkFlowFactory::ReleaseGlobalObjects();
  std::printf(AllMet() ? "all targets met\n" : "some targets MISSED\n");
  return 0;
}
