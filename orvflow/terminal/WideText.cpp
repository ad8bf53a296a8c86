#include "orvflow/terminal/WideText.h"

#include <filesystem>
#include <system_error>

namespace OrvWorkFlow::Program {

namespace {

// A path knows the way between the encodings on every platform; it refuses what is malformed.
template <class To, class From>
std::optional<To> Converted(const From& text, To (std::filesystem::path::*convert)() const) {
  try {
    return (std::filesystem::path(text).*convert)();
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<std::u16string> ToWide(std::string_view utf8) {
  return Converted(std::u8string(utf8.begin(), utf8.end()), &std::filesystem::path::u16string);
}

std::optional<std::string> ToUtf8(std::u16string_view wide) {
  const auto utf8 = Converted(wide, &std::filesystem::path::u8string);
  if (!utf8) return std::nullopt;
  return std::string(utf8->begin(), utf8->end());
}

}  // namespace OrvWorkFlow::Program
