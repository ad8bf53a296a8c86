#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#ifdef ORV_HAS_RAPIDXML
#include <rapidxml/rapidxml.hpp>
#endif
#ifdef ORV_HAS_PROPERTY_TREE
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#endif

#include "dictionary/DictionaryCases.h"
#include "dictionary/Peers.h"

namespace DictionaryBench {
namespace {

// Ten values of mixed types in a group, ten groups in a unit, and so on.
std::string PathOf(std::size_t i) {
  return "/area" + std::to_string(i / 10000) + "/part" + std::to_string(i / 1000 % 10) + "/unit" +
         std::to_string(i / 100 % 10) + "/group" + std::to_string(i / 10 % 10) + "/quantity" + std::to_string(i % 10);
}

void Fill(OrvWorkFlow::IDictionary& dictionary, std::size_t entries) {
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

#ifdef ORV_HAS_RAPIDXML
// Reads the whole file and parses it where it lies: the document is made of pointers into the text.
struct InSituDocument {
  std::vector<char> text;
  rapidxml::xml_document<> tree;

  void Load(const std::string& file) {
    std::ifstream input(file, std::ios::binary);
    text.resize(static_cast<std::size_t>(std::filesystem::file_size(file)) + 1);
    Check(static_cast<bool>(input.read(text.data(), static_cast<std::streamsize>(text.size() - 1))), "cannot read");
    text.back() = '\0';
    tree.parse<0>(text.data());
  }
};
#endif

void MeasureLoading(std::size_t entries, const std::string& file, DictionaryHolder& loaded,
                    pugi::xml_document& document) {
  std::vector<Peer> peers{{"dictionary", [&] { Check(loaded->LoadFile(file.c_str()), "the file cannot be loaded"); },
                           [&] { loaded = MakeDictionary(); }},
                          {"pugixml", [&] { Check(document.load_file(file.c_str()), "pugixml cannot load the file"); },
                           [&] { document.reset(); }}};
#ifdef ORV_HAS_RAPIDXML
  std::unique_ptr<InSituDocument> in_situ;
  peers.push_back({"rapidxml", [&] { in_situ->Load(file); }, [&] { in_situ = std::make_unique<InSituDocument>(); }});
#endif
#ifdef ORV_HAS_PROPERTY_TREE
  boost::property_tree::ptree properties;
  if (entries <= 100'000) {
    peers.push_back(
        {"property_tree", [&] { boost::property_tree::read_xml(file, properties); }, [&] { properties.clear(); }});
  }
#endif
  Measure("load a file", entries, {1.0, {"pugixml", "rapidxml"}}, peers);
}

void MeasureFile(std::size_t entries, const std::string& directory) {
  const std::string file = directory + "/dictionary.xml";
  const std::string copy = directory + "/copy.xml";
  DictionaryHolder loaded = MakeDictionary();
  Fill(*loaded, entries);
  Check(loaded->SaveFile(file.c_str()), "the file cannot be saved");
  const auto bytes = static_cast<double>(std::filesystem::file_size(file));
  std::printf("%zu entries in a file, %.1f bytes an entry\n", entries, bytes / static_cast<double>(entries));

  pugi::xml_document document;
  MeasureLoading(entries, file, loaded, document);
  Measure("save a file", entries, {0.8, {"pugixml"}},
          {{"dictionary", [&] { Check(loaded->SaveFile(copy.c_str()), "the file cannot be saved"); }},
           {"pugixml",
            [&] { Check(document.save_file(copy.c_str(), "\t", pugi::format_raw), "pugixml cannot save the file"); }}});
  if (entries < 100'000) return;  // Too little to be seen among pages.
  loaded.reset();
  document.reset();
  const double before = ResidentBytes();
  loaded = MakeDictionary();
  Check(loaded->LoadFile(file.c_str()), "the file cannot be loaded");
  PrintLimit("memory of a loaded entry", (ResidentBytes() - before) / static_cast<double>(entries), 150, "B ");
}

}  // namespace

void MeasureFiles(const std::vector<std::size_t>& sizes, const std::string& directory) {
  for (const std::size_t entries : sizes) MeasureFile(entries, directory);
}

}  // namespace DictionaryBench
