// Base64: the input is taken for a text to decode and for bytes to encode.
#include "base/text/Base64.h"

#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"
#include "tests/base/SlowBase64.h"

namespace OrvWorkFlow::Fuzz {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Whether nothing is skipped but blanks, tabs and line ends, and nothing but these and "=" stands behind the first "=".
bool IsClean(std::string_view text) {
  bool is_padding = false;
  for (const char c : text) {
    is_padding = is_padding || c == '=';
    const bool is_digit = Base64Testing::kAlphabet.find(c) != std::string_view::npos;
    if (!IsSpace(c) && c != '=' && (is_padding || !is_digit)) return false;
  }
  return true;
}

}  // namespace

void Base64(std::string_view input) {
  const std::string decoded = Base::DecodeBase64(input);
  RequireEqual(decoded, Base64Testing::SlowDecode(input), "decoded");
  const std::optional<std::size_t> size = Base::CleanBase64Size(input);
  Require(size.has_value() == IsClean(input), "clean, or not");
  if (size) RequireEqual(*size, decoded.size(), "size that was foretold");
  const std::string encoded = Base::EncodeBase64(input);
  RequireEqual(encoded, Base64Testing::SlowEncode(input), "encoded");
  Require(Base::DecodeBase64(encoded) == input, "an encoded text does not come back");
}

}  // namespace OrvWorkFlow::Fuzz
