#include "runtime/log/LogLine.h"

#include <cstdio>

#include "base/text/Utf8.h"

namespace OrvWorkFlow::Runtime {

namespace {

void AppendNumber(std::string* out, unsigned number, unsigned digits) {
  char text[10];
  for (unsigned i = digits; i > 0; --i) {
    text[i - 1] = static_cast<char>('0' + number % 10);
    number /= 10;
  }
  out->append(text, digits);
}

void AppendTime(std::string* out, std::chrono::system_clock::time_point time) {
  const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time);
  const auto day = std::chrono::floor<std::chrono::days>(milliseconds);
  const std::chrono::year_month_day date(day);
  const auto of_day = static_cast<unsigned>((milliseconds - day).count());
  AppendNumber(out, static_cast<unsigned>(static_cast<int>(date.year())), 4);
  out->push_back('-');
  AppendNumber(out, static_cast<unsigned>(date.month()), 2);
  out->push_back('-');
  AppendNumber(out, static_cast<unsigned>(date.day()), 2);
  out->push_back('T');
  AppendNumber(out, of_day / 3'600'000, 2);
  out->push_back(':');
  AppendNumber(out, of_day / 60'000 % 60, 2);
  out->push_back(':');
  AppendNumber(out, of_day / 1'000 % 60, 2);
  out->push_back('.');
  AppendNumber(out, of_day % 1'000, 3);
  out->push_back('Z');
}

void AppendOnOneLine(std::string* out, std::string_view text) {
  std::size_t begin = 0;
  for (std::size_t i = text.find_first_of("\r\n"); i != std::string_view::npos; i = text.find_first_of("\r\n", begin)) {
    out->append(text, begin, i - begin);
    out->append(text[i] == '\n' ? "\\n" : "\\r");
    begin = i + 1;
  }
  out->append(text, begin);
}

void AppendJsonText(std::string* out, std::string_view text) {
  constexpr char kDigits[] = "0123456789abcdef";
  out->push_back('"');
  while (!text.empty()) {
    char32_t character = 0;
    Base::TakeCharacter(text, character);
    if (character == U'"' || character == U'\\') {
      out->push_back('\\');
      out->push_back(static_cast<char>(character));
    } else if (character == U'\n') {
      out->append("\\n");
    } else if (character < 0x20 || character == 0x7F) {
      out->append("\\u00");
      out->push_back(kDigits[character >> 4]);
      out->push_back(kDigits[character & 15]);
    } else {
      Base::AppendCharacter(*out, character);
    }
  }
  out->push_back('"');
}

}  // namespace

std::string FormatLogText(const char* format, std::va_list values) {
  char room[256];
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(room, sizeof room, format, again);
  va_end(again);
  if (length < 0) {
    return format;
  }
  const auto size = static_cast<std::size_t>(length);
  if (size < sizeof room) {
    return {room, size};
  }
  std::string text(size + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, values);
  text.pop_back();
  return text;
}

void AppendLogLine(std::string* out, std::chrono::system_clock::time_point time, std::string_view category,
                   std::string_view text) {
  AppendTime(out, time);
  out->push_back(' ');
  AppendOnOneLine(out, category);
  out->push_back(' ');
  AppendOnOneLine(out, text);
  out->push_back('\n');
}

void AppendJsonLogLine(std::string* out, std::chrono::system_clock::time_point time, std::string_view category,
                       std::string_view text) {
  out->append("{\"time\":\"");
  AppendTime(out, time);
  out->append("\",\"category\":");
  AppendJsonText(out, category);
  out->append(",\"text\":");
  AppendJsonText(out, text);
  out->append("}\n");
}

}  // namespace OrvWorkFlow::Runtime
