#include <cstdio>
#include <string>

#include "OrvWorkFlow/Marshaller.h"
#include "dictionary/DictionaryCases.h"
#include "dictionary/Peers.h"

namespace DictionaryBench {
namespace {

class IntList final : public OrvWorkFlow::IOrvIntList {
 public:
  virtual ~IntList() = default;
  std::size_t GetCount() const override { return items_.size(); }
  bool Get(std::size_t index, std::int32_t* item) const override {
    if (index >= items_.size() || item == nullptr) return false;
    *item = items_[index];
    return true;
  }
  bool Add(std::int32_t item) override {
    items_.push_back(item);
    return true;
  }
  void Clear() override { items_.clear(); }
  void Release() override {}

 private:
  std::vector<std::int32_t> items_;
};

struct Times {
  double set;
  double read;
  double save;
  double load;
};

Times MeasureList(std::size_t count, const std::string& file) {
  IntList items;
  for (std::size_t i = 0; i < count; ++i) items.Add(static_cast<std::int32_t>(i));
  IntList read;
  const DictionaryHolder dictionary = MakeDictionary();
  const auto measure = [&](const char* what, std::function<void()> run) {
    return Measure("list of " + std::to_string(count) + ": " + what, count, {}, {{"dictionary", std::move(run)}});
  };
  const char* const path = "/a/list";
  Times times{};
  times.set = measure("set", [&] { Check(dictionary->SetValue(path, &items), "a list cannot be set"); });
  times.read = measure("read", [&] { Check(dictionary->GetValue(path, &read), "a list cannot be read"); });
  times.save = measure("save", [&] { Check(dictionary->SaveFile(file.c_str()), "a list cannot be saved"); });
  times.load = measure("load", [&] { Check(dictionary->LoadFile(file.c_str()), "a list cannot be loaded"); });
  Check(dictionary->GetValue(path, &read) && read.GetCount() == count, "items are lost");
  return times;
}

}  // namespace

void MeasureLists(const std::string& directory) {
  std::printf("lists, an item\n");
  const std::string file = directory + "/list.xml";
  const Times few = MeasureList(1000, file);
  MeasureList(10'000, file);
  const Times many = MeasureList(100'000, file);
  const double kMostGrowth = 2.5;  // An item's time, of a hundred times as many.
  PrintLimit("growth: set", many.set / few.set, kMostGrowth, "x ");
  PrintLimit("growth: read", many.read / few.read, kMostGrowth, "x ");
  PrintLimit("growth: save", many.save / few.save, kMostGrowth, "x ");
  PrintLimit("growth: load", many.load / few.load, kMostGrowth, "x ");
}

}  // namespace DictionaryBench
