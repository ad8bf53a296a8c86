// The host's logger: the utility object "Logger" that writes to a stream or a file.
//
// A line a call, in UTC, ended by one "\n" on every platform:
//
//   2026-11-21T03:45:31.123Z /workflow/signalpump There are 2 left in the signal queue
//
// A text is never cut. Line breaks in it are written as \n and \r, so that a line stays a line. A line without a
// category, logged before a default category was set, has "-" in its place.
//
// Lines that could not be written are lost; the next one that can be written says how many, and why.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/sdk/SharedObject.h"

namespace OrvWorkFlow::Runtime {

// Any thread; the lines of one thread keep their order, the times never go back unless the system's clock does.
class ORV_RUNTIME_API Logger final : public Sdk::SharedObject<Logger, ILogger> {
 public:
  enum class Writing {
    kBuffered,  // when a buffer of 64 KiB is full, at Flush, and at the end
    kEachLine,
  };

  // How long a log file may become. A line that would make it longer begins a new file: the old one is then
  // "<path>.1", the one before "<path>.2", and so on up to `kept`.
  struct Growth {
    std::uint64_t limit = 0;  // in bytes; 0 for none
    unsigned kept = 3;
  };

  // Writes to `stream`, which stays open and the caller's. Null when `stream` is null or there is no memory.
  static Logger* NewForStream(std::FILE* stream, Writing writing) noexcept;

  // Makes the file, or empties it. Null with `errno` set when it cannot be written.
  static Logger* NewForFile(const char* path, Writing writing) noexcept;

  // Makes the file, or appends to it. Null with `errno` set when it cannot be written. Several processes may append to
  // one file.
  static Logger* NewForAppending(const char* path, Writing writing, Growth growth) noexcept;

  // Writes only lines whose category begins with `prefix`, a slash in front of either not counted; null or "" writes
  // all.
  void SetCategoryFilter(const char* prefix);

  // The form of the lines from now on; kText at first.
  enum class Form {
    kText,
    kJson,  // an object each: "time", "category" and "text"
  };
  void SetForm(Form form);

  // Hands everything to the system. False when a line was lost since the logger was made: disk full, say.
  bool Flush() noexcept;

  // The `errno` of the first loss; 0 while no line was lost.
  int GetFirstError() noexcept;

  void SetDefaultCategory(const char* category) override;
  void Log(const char* category, const char* format, ...) override ORV_PRINTF_LIKE(3, 4);

 private:
  friend class Sdk::ObjectProtocol<Logger, ILogger>;
  friend class Sdk::SharedObject<Logger, ILogger>;
  struct State;

  explicit Logger(std::unique_ptr<State> state);
  template <class OpenSink>
  static Logger* New(const OpenSink& open_sink, Writing writing) noexcept;
  ~Logger();

  std::unique_ptr<State> state_;
};

}  // namespace OrvWorkFlow::Runtime
