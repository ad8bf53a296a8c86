// Feeds the matcher arbitrary patterns and texts: both widths must agree, with each other and, where it does not take
// too long, with the naive matcher; and no sanitizer may find anything.
//
//   clang++ -std=c++20 -g -O1 -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all -I. -Isrc -Iinclude
//       fuzz/regexp_fuzz.cpp src/regexp/{Compiler,Matcher,Pattern,PatternError,Plan,Program}.cpp -o /tmp/regexp_fuzz
//   /tmp/regexp_fuzz -dict=fuzz/regexp.dict -max_len=200 -timeout=10 CORPUS_FOLDER
//
// An input is a pattern, a line feed, and texts that are separated by line feeds.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/regexp/Compare.h"

namespace {

constexpr std::size_t kNaiveLimit = 20'000;

void RequireNone(const std::string& difference) {
  if (difference.empty()) return;
  std::fprintf(stderr, "%s\n", difference.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t pattern_end = std::min(input.find('\n'), size);
  // A pattern ends at its first zero; a text may hold some.
  const std::string pattern(input.substr(0, std::min(pattern_end, input.find('\0'))));
  orv_test::ComparedPattern compared(pattern);
  RequireNone(compared.DifferenceInCompiling());
  if (!compared.IsCompiled()) return 0;
  for (std::size_t begin = pattern_end + 1; begin <= size;) {
    const std::size_t end = std::min(input.find('\n', begin), size);
    RequireNone(compared.Difference(std::string(input.substr(begin, end - begin)), kNaiveLimit));
    begin = end + 1;
  }
  return 0;
}
