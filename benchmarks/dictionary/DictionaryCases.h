// The cases of the benchmark, and the dictionary that they measure.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace DictionaryBench {

struct ReleaseIt {
  void operator()(OrvWorkFlow::IDictionary* dictionary) const { dictionary->Release(); }
};
using DictionaryHolder = std::unique_ptr<OrvWorkFlow::IDictionary, ReleaseIt>;

// From the library, as a host gets it.
DictionaryHolder MakeDictionary();

// Loads and saves generated files of these many entries of mixed types, below four levels; memory after a load.
void MeasureFiles(const std::vector<std::size_t>& sizes, const std::string& directory);

// Reads and writes integers in random order: 10^4 in a tree of fan-out 10, and 10^2 to `most` in one element.
void MeasureValues(std::size_t most);

// Writes entries of a dictionary in which others are watched.
void MeasureWatches();

// Sets, reads, saves and loads lists of 10^3 to 10^5 items.
void MeasureLists(const std::string& directory);

}  // namespace DictionaryBench
