#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <pugixml.hpp>
#include <random>
#ifdef ORV_HAS_PROPERTY_TREE
#include <boost/property_tree/ptree.hpp>
#endif
#ifdef ORV_HAS_NLOHMANN
#include <nlohmann/json.hpp>
#endif

#include "dictionary/DictionaryCases.h"
#include "dictionary/Peers.h"

namespace DictionaryBench {
namespace {

constexpr std::size_t kLookups = 100'000;
// With more children a store that walks over them takes minutes.
constexpr std::size_t kMostWalked = 1000;

// The names on the way to a value.
using Place = std::vector<std::string>;

std::string PathOf(const Place& place) {
  std::string path;
  for (const std::string& name : place) path += "/" + name;
  return path;
}

// A store of integers with the two operations that are measured. Each keeps its places as it wants them.
class Store {
 public:
  virtual ~Store() = default;
  virtual std::int32_t Get(std::size_t place) = 0;
  virtual void Set(std::size_t place, std::int32_t value) = 0;
};
using Places = std::vector<Place>;

class Dictionary final : public Store {
 public:
  explicit Dictionary(const Places& places) {
    for (const Place& place : places) paths_.push_back(PathOf(place));
    for (std::size_t i = 0; i < places.size(); ++i) Set(i, 1);
  }
  std::int32_t Get(std::size_t place) override {
    std::int32_t value = 0;
    Check(dictionary_->GetValue(paths_[place].c_str(), &value), "an entry cannot be read");
    return value;
  }
  void Set(std::size_t place, std::int32_t value) override {
    Check(dictionary_->SetValue(paths_[place].c_str(), value), "an entry cannot be set");
  }

 private:
  std::vector<std::string> paths_;
  DictionaryHolder dictionary_ = MakeDictionary();
};

class KeyFile final : public Store {
 public:
  explicit KeyFile(const Places& places) {
    for (const Place& place : places) {
      places_.push_back({PathOf(Place(place.begin(), place.end() - 1)), place.back()});
    }
    for (std::size_t i = 0; i < places.size(); ++i) Set(i, 1);
  }
  ~KeyFile() override { g_key_file_free(keys_); }
  std::int32_t Get(std::size_t place) override {
    return g_key_file_get_integer(keys_, places_[place].group.c_str(), places_[place].key.c_str(), nullptr);
  }
  void Set(std::size_t place, std::int32_t value) override {
    g_key_file_set_integer(keys_, places_[place].group.c_str(), places_[place].key.c_str(), value);
  }

 private:
  struct GroupAndKey {
    std::string group;
    std::string key;
  };
  std::vector<GroupAndKey> places_;
  GKeyFile* const keys_ = g_key_file_new();
};

class Pugixml final : public Store {
 public:
  explicit Pugixml(const Places& places) : places_(places) {
    for (const Place& place : places) {
      pugi::xml_node at = document_;
      for (const std::string& name : place) {
        const pugi::xml_node child = at.child(name.c_str());
        at = child ? child : at.append_child(name.c_str());
      }
      at.text().set(1);
    }
  }
  std::int32_t Get(std::size_t place) override { return Find(place).text().as_int(); }
  void Set(std::size_t place, std::int32_t value) override { Find(place).text().set(value); }

 private:
  pugi::xml_node Find(std::size_t place) const {
    pugi::xml_node at = document_;
    for (const std::string& name : places_[place]) at = at.child(name.c_str());
    return at;
  }

  const Places& places_;
  pugi::xml_document document_;
};

#ifdef ORV_HAS_PROPERTY_TREE
class PropertyTree final : public Store {
 public:
  explicit PropertyTree(const Places& places) {
    for (const Place& place : places) {
      paths_.emplace_back(PathOf(place).substr(1), '/');
      tree_.put(paths_.back(), 1);
    }
  }
  std::int32_t Get(std::size_t place) override { return tree_.get<std::int32_t>(paths_[place]); }
  void Set(std::size_t place, std::int32_t value) override { tree_.put(paths_[place], value); }

 private:
  boost::property_tree::ptree tree_;
  std::vector<boost::property_tree::ptree::path_type> paths_;
};
#endif

#ifdef ORV_HAS_NLOHMANN
class JsonPointers final : public Store {
 public:
  explicit JsonPointers(const Places& places) {
    for (const Place& place : places) {
      pointers_.emplace_back(PathOf(place));
      tree_[pointers_.back()] = 1;
    }
  }
  std::int32_t Get(std::size_t place) override { return tree_.at(pointers_[place]).get<std::int32_t>(); }
  void Set(std::size_t place, std::int32_t value) override { tree_[pointers_[place]] = value; }

 private:
  nlohmann::json tree_;
  std::vector<nlohmann::json::json_pointer> pointers_;
};
#endif

struct NamedStore {
  std::string name;
  std::unique_ptr<Store> store;
};

std::vector<NamedStore> MakeStores(const Places& places, bool walked) {
  std::vector<NamedStore> stores;
  stores.push_back({"dictionary", std::make_unique<Dictionary>(places)});
  stores.push_back({"GKeyFile", std::make_unique<KeyFile>(places)});
  if (walked) stores.push_back({"pugixml", std::make_unique<Pugixml>(places)});
#ifdef ORV_HAS_PROPERTY_TREE
  stores.push_back({"property_tree", std::make_unique<PropertyTree>(places)});
#endif
#ifdef ORV_HAS_NLOHMANN
  stores.push_back({"json_pointer", std::make_unique<JsonPointers>(places)});
#endif
  return stores;
}

// Answers the dictionary's time to get.
double MeasureShape(const std::string& shape, const Places& places, bool walked, const char* peer_of_set) {
  const std::vector<NamedStore> stores = MakeStores(places, walked);
  std::mt19937 engine(1);
  std::vector<std::size_t> order(kLookups);
  for (std::size_t& place : order) place = engine() % places.size();
  std::int64_t sum = 0;
  std::vector<Peer> get;
  std::vector<Peer> set;
  for (const NamedStore& named : stores) {
    Store& store = *named.store;
    get.push_back({named.name, [&] {
                     for (const std::size_t place : order) sum += store.Get(place);
                   }});
    set.push_back({named.name, [&] {
                     for (const std::size_t place : order) store.Set(place, store.Get(place) % 1000 + 1);
                   }});
  }
  const double own = Measure(shape + ": get", kLookups, {1.0, {"GKeyFile"}}, get);
  Measure(shape + ": get and set", kLookups, {1.0, {peer_of_set}}, set);
  Check(sum > 0, "the values are lost");
  return own;
}

}  // namespace

void MeasureValues(std::size_t most) {
  std::printf("integers by path, in random order\n");
  Places tree;
  for (std::size_t i = 0; i < 10'000; ++i) {
    tree.push_back({"area" + std::to_string(i / 1000), "part" + std::to_string(i / 100 % 10),
                    "group" + std::to_string(i / 10 % 10), "value" + std::to_string(i % 10)});
  }
  MeasureShape("tree of 10000", tree, true, "pugixml");
  double few = 0;
  double many = 0;
  for (std::size_t count = 100; count <= most; count *= 10) {
    Places wide;
    for (std::size_t i = 0; i < count; ++i) wide.push_back({"wide", "value" + std::to_string(i)});
    many = MeasureShape("1 with " + std::to_string(count), wide, count <= kMostWalked, "GKeyFile");
    if (count == 100) few = many;
  }
  // A search over the children would take as many times longer as there are more of them; what is left is the way to
  // memory that no cache holds.
  PrintLimit("most children by fewest: get", many / few, 15, "x ");
}

}  // namespace DictionaryBench
