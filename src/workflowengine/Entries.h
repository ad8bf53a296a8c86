// Small questions that the engine asks the dictionary.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Engine {

// The path of an entry's child.
inline std::string Below(std::string_view parent, std::string_view child) {
  std::string path;
  path.reserve(parent.size() + 1 + child.size());
  return path.append(parent).append(1, '/').append(child);
}

// The text of a string entry, "" when there is none. Throws std::bad_alloc when there is one that cannot be read.
std::string ReadString(IDictionary& dictionary, const std::string& path);

// The names of an entry's children in their order. False, with `names` untouched, when the listing fails.
bool ListChildren(IDictionary& dictionary, const std::string& path, std::vector<std::string>& names);
// The same, but none when there is no such entry; throws std::bad_alloc when there is one that cannot be listed.
std::vector<std::string> ChildrenOf(IDictionary& dictionary, const std::string& path);

// Throws std::bad_alloc when a string stands there: a read that failed has failed for lack of memory.
void ThrowIfString(IDictionary& dictionary, const char* path);

// Removes an entry. False when it is still there.
bool Remove(IDictionary& dictionary, const char* path);

// The lowest number N for which no name is `prefix` + N, as it is written without leading zeros.
std::uint64_t LowestFreeNumber(const std::vector<std::string>& names, std::string_view prefix);

}  // namespace OrvWorkFlow::Core::Engine
