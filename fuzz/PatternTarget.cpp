// Patterns: both widths of the matcher must agree with each other and, where it does not take too long, with the naive
// matcher. An input is a pattern, a line feed, and texts that are separated by line feeds.
#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/regexp/Compare.h"

namespace OrvWorkFlow::Fuzz {

namespace {

constexpr std::size_t kNaiveLimit = 20'000;

void RequireNone(const std::string& difference) { Require(difference.empty(), difference); }

}  // namespace

void Pattern(std::string_view input) {
  // A pattern ends at its first zero; a text may hold some.
  const std::string pattern(TakeUntil('\n', input));
  orv_test::ComparedPattern compared(pattern.c_str());
  RequireNone(compared.DifferenceInCompiling());
  if (!compared.IsCompiled()) return;
  do {
    RequireNone(compared.Difference(std::string(TakeUntil('\n', input)), kNaiveLimit));
  } while (!input.empty());
}

}  // namespace OrvWorkFlow::Fuzz
