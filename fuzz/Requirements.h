// What a target requires: a broken requirement is a finding.
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Fuzz {

inline void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

template <class Value>
void RequireEqual(const Value& found, const Value& expected, const std::string& what) {
  if (found == expected) return;
  std::ostringstream text;
  text << what << ": found \"" << found << "\", expected \"" << expected << '"';
  throw std::runtime_error(text.str());
}

// Takes what stands before the next `separator` off the front, and the separator too.
inline std::string_view TakeUntil(char separator, std::string_view& rest) {
  const std::size_t end = rest.find(separator);
  const std::string_view taken = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return taken;
}

}  // namespace OrvWorkFlow::Fuzz
