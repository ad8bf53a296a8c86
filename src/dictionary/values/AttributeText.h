// An element's attributes, kept as the raw text that stands in its start tag: name="value" name='value' ...
//
// Reading is lenient: blanks before a name are skipped; a name runs to the next "=" (blanks before the "=" are part of
// it); a value starts at the next quote of either kind and ends at the next quote of that kind. What is no such pair
// (no "=", no quote, no closing quote, no name) is dropped. A change writes the whole text anew, so it keeps the pairs
// and nothing else.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::Dictionary {

// Walks the pairs from the first to the last. The text must outlive the reader and what it answers.
class AttributeReader {
 public:
  explicit AttributeReader(std::string_view text) : rest_(text) {}
  // False at the end; `name` and `value` are then undefined.
  bool Next(std::string_view& name, std::string_view& value);

 private:
  std::string_view rest_;
};

// The value of the first pair of that name.
std::optional<std::string_view> FindAttribute(std::string_view text, std::string_view name);

// The text with the first pair of that name given the value where it stands, or with a new pair at the end. A value is
// quoted by double quotes unless it holds one, and then by apostrophes: one that holds both kinds is cut when it is
// read.
std::string WithAttribute(std::string_view text, std::string_view name, std::string_view value);

// The text without the first pair of that name.
std::string WithoutAttribute(std::string_view text, std::string_view name);

// False for a name that could not be read back: empty, or with a blank, "=", ">", "/" or a quote in it.
bool IsAttributeName(std::string_view name);

}  // namespace OrvWorkFlow::Core::Dictionary
