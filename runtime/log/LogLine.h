// The form of one line of the log.
#pragma once

#include <chrono>
#include <cstdarg>
#include <string>
#include <string_view>

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow::Runtime {

// A printf-style text of any length; the bare format when it cannot be formatted.
ORV_RUNTIME_API std::string FormatLogText(const char* format, std::va_list values) ORV_PRINTF_LIKE(1, 0);

// Appends "2026-11-21T03:45:31.123Z category text\n" with line breaks written as \n and \r.
ORV_RUNTIME_API void AppendLogLine(std::string* out, std::chrono::system_clock::time_point time,
                                   std::string_view category, std::string_view text);

// The same as a JSON object: {"time":"2026-11-21T03:45:31.123Z","category":"/signal","text":"..."} and "\n". What is no
// UTF-8 becomes U+FFFD.
void AppendJsonLogLine(std::string* out, std::chrono::system_clock::time_point time, std::string_view category,
                       std::string_view text);

}  // namespace OrvWorkFlow::Runtime
