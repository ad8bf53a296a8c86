#include "workflowengine/Entries.h"

#include <algorithm>
#include <charconv>
#include <new>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow::Core::Engine {

std::string ReadString(IDictionary& dictionary, const std::string& path) {
  std::string value;
  if (!FetchText(value, [&](IOrvPString* text) { return dictionary.GetValue(path.c_str(), text); })) {
    ThrowIfString(dictionary, path.c_str());
  }
  return value;
}

void ThrowIfString(IDictionary& dictionary, const char* path) {
  if (dictionary.GetValueType(path) == ValueType::String) throw std::bad_alloc();
}

std::vector<std::string> ChildrenOf(IDictionary& dictionary, const std::string& path) {
  std::vector<std::string> names;
  if (!ListChildren(dictionary, path, names) && dictionary.Exists(path.c_str())) throw std::bad_alloc();
  return names;
}

bool Remove(IDictionary& dictionary, const char* path) { return dictionary.Delete(path) || !dictionary.Exists(path); }

bool ListChildren(IDictionary& dictionary, const std::string& path, std::vector<std::string>& names) {
  const Marshalled<IOrvPStringList> list;
  return list && dictionary.GetEntries(path.c_str(), list.get()) && ReadTexts(list.get(), names);
}

std::uint64_t LowestFreeNumber(const std::vector<std::string>& names, std::string_view prefix) {
  std::vector<bool> taken(names.size() + 1);  // among so many numbers one is free
  for (const std::string& name : names) {
    if (!name.starts_with(prefix)) continue;
    const std::string_view digits = std::string_view(name).substr(prefix.size());
    std::size_t number = 0;
    const auto [last, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool is_number = error == std::errc() && last == digits.data() + digits.size();
    if (is_number && (digits.front() != '0' || digits.size() == 1) && number < taken.size()) taken[number] = true;
  }
  return static_cast<std::uint64_t>(std::find(taken.begin(), taken.end(), false) - taken.begin());
}

}  // namespace OrvWorkFlow::Core::Engine
