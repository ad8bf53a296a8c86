#include "CoreObjects/Format.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace OrvWorkFlow::Core {

std::string Format(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, values);
  va_end(values);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  if (length < 0) throw std::length_error("a formatted text is too long");
  return text;
}

}  // namespace OrvWorkFlow::Core
