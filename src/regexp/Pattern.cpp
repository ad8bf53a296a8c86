#include "regexp/Pattern.h"

#include <new>

#include "regexp/Compiler.h"

namespace OrvWorkFlow::Core::Patterns {

namespace {

constinit thread_local PatternError last_error = PatternError::kNone;

bool Fail(PatternError error) noexcept {
  last_error = error;
  return false;
}

template <class Char>
bool MatchOnce(const Char* pattern, const Char* text) noexcept {
  BasicPattern<Char> compiled;
  return compiled.Compile(pattern) && compiled.Search(text);
}

}  // namespace

template <class Char>
bool BasicPattern<Char>::Compile(const Char* pattern) noexcept {
  try {
    error_ = Patterns::Compile(pattern != nullptr ? AsUnits(pattern) : nullptr, program_);
    if (error_ == PatternError::kNone) error_ = MakePlan(program_, plan_);
  } catch (...) {
    error_ = PatternError::kOutOfSpace;
  }
  is_compiled_ = error_ == PatternError::kNone;
  return is_compiled_ || Fail(error_);
}

template <class Char>
bool BasicPattern<Char>::Search(std::basic_string_view<Char> text, SubMatches* positions) const noexcept {
  if (!is_compiled_) return Fail(PatternError::kNullParameter);
  try {
    static constexpr Char kEmpty[] = {0};
    const auto* begin = AsUnits(text.data() != nullptr ? text.data() : kEmpty);
    return SearchText(program_, plan_, begin, begin + text.size(), positions, RememberAfter(text.size()));
  } catch (...) {
    return Fail(PatternError::kOutOfSpace);
  }
}

template <class Char>
bool BasicPattern<Char>::Search(const Char* text, SubMatches* positions) const noexcept {
  if (text == nullptr) return Fail(PatternError::kNullParameter);
  return Search(std::basic_string_view<Char>(text), positions);
}

template class BasicPattern<char>;
template class BasicPattern<char16_t>;

bool PatternMatch(const char* pattern, const char* text) noexcept { return MatchOnce(pattern, text); }
bool PatternMatch(const char16_t* pattern, const char16_t* text) noexcept { return MatchOnce(pattern, text); }

const char* LastPatternError() noexcept { return TextOf(last_error); }

}  // namespace OrvWorkFlow::Core::Patterns
