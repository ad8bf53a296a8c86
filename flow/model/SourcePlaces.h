// Where the entries of a dictionary stand in the text of its file.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace OrvWorkFlow::Flow {

// Both count from 1, the column in bytes; 0 where there is none.
struct SourcePlace {
  std::size_t line = 0;
  std::size_t column = 0;
};

class SourcePlaces {
 public:
  SourcePlaces() = default;  // none
  // Of a text that a dictionary was loaded from. Text that is no dictionary file gives no places, or some.
  explicit SourcePlaces(std::string_view text);

  // The start tag of an entry ("/A/B"), else of the nearest one above it that is there.
  SourcePlace At(std::string path) const;

 private:
  std::unordered_map<std::string, SourcePlace> places_;  // the first of each path; "" is the root
};

}  // namespace OrvWorkFlow::Flow
