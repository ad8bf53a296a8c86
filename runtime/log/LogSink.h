// Where a logger's lines go: a stream of the caller's, a new file, or a file that is appended to and kept within a
// size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "runtime/log/Logger.h"

namespace OrvWorkFlow::Runtime {

// One thread at a time.
class LogSink {
 public:
  LogSink() = default;
  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;
  virtual ~LogSink() = default;

  // Hands whole lines to the system; returns how many of the bytes it took. Fewer than all: `errno` says why.
  virtual std::size_t Write(std::string_view lines) noexcept = 0;
};

// Each is null, with `errno` set, when it cannot be opened.
std::unique_ptr<LogSink> OpenStreamSink(std::FILE* stream);
std::unique_ptr<LogSink> OpenNewFileSink(const char* path);
std::unique_ptr<LogSink> OpenAppendingSink(const char* path, Logger::Growth growth);

}  // namespace OrvWorkFlow::Runtime
