// Patterns: compiled once, searched for in any number of texts. This is the header that users of the matcher include.
//
//   Pattern pattern;
//   if (!pattern.Compile("^/a/[0-9]+$")) return pattern.error_text();
//   pattern.Search("/a/17");
//
// What a pattern may hold stands in Compiler.h. Narrow text is bytes, whatever they mean; wide text is 16-bit units.
#pragma once

#include <string_view>

#include "regexp/Matcher.h"
#include "regexp/PatternError.h"
#include "regexp/Plan.h"
#include "regexp/Program.h"

namespace OrvWorkFlow::Core::Patterns {

// Compile is for one thread at a time, searching for any number at once. Stays where it is; keep it behind a pointer to
// pass it on. About 1.5 KiB; short patterns (programs under 256 characters) and searches of short texts allocate
// nothing.
template <class Char>
class BasicPattern {
 public:
  BasicPattern() = default;
  BasicPattern(const BasicPattern&) = delete;
  BasicPattern& operator=(const BasicPattern&) = delete;

  // From a zero-terminated text, which is not needed any more afterwards. May be called once. On failure error() says
  // why and no search finds anything.
  bool Compile(const Char* pattern) noexcept;

  bool IsCompiled() const { return is_compiled_; }
  // Of Compile.
  PatternError error() const { return error_; }
  const char* error_text() const { return TextOf(error_); }

  // Whether the pattern is found anywhere in the text, which may hold zeros. On success `positions`, unless null, is
  // filled from the leftmost match; on failure it is left alone. False also without a compiled pattern and without
  // memory.
  bool Search(std::basic_string_view<Char> text, SubMatches* positions = nullptr) const noexcept;
  // The same for a zero-terminated text; false for null.
  bool Search(const Char* text, SubMatches* positions = nullptr) const noexcept;

  // See ToString.
  const Program<UnitOf<Char>>& program() const { return program_; }

 private:
  Program<UnitOf<Char>> program_;
  Plan<UnitOf<Char>> plan_;
  PatternError error_ = PatternError::kNone;
  bool is_compiled_ = false;
};

using Pattern = BasicPattern<char>;
using WidePattern = BasicPattern<char16_t>;

// Compiles, searches, frees; false for whatever goes wrong.
bool PatternMatch(const char* pattern, const char* text) noexcept;
bool PatternMatch(const char16_t* pattern, const char16_t* text) noexcept;

// The text of the calling thread's last failure to compile or to search, of any pattern; empty before the first. Not
// finding is no failure, and a success leaves the text alone. A constant of this module.
const char* LastPatternError() noexcept;

}  // namespace OrvWorkFlow::Core::Patterns
