// The logs of a run: "--trace" lines on standard error; in the "--log" file lines of the run itself and, at the level
// that wants them, the library's trace lines. Both, or none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "OrvWorkFlow/ILogger.h"
#include "runtime/log/Logger.h"

namespace OrvWorkFlow::Program {

// Each level has the lines of those before it.
enum class LogLevel {
  Failures,  // how the run began and ended, its failures
  Signals,   // a line for each signal
  Trace,     // the library's own lines
};

struct LogOptions {
  // Nothing for no trace, "" for all lines, else the beginning of the categories to show.
  std::optional<std::string> trace_category;
  std::string file;  // as the user names it; "" for none
  LogLevel level = LogLevel::Signals;
  std::uint64_t size_limit = 0;  // of a log file, in bytes; 0 for none
  bool as_json = false;          // an object a line
};

class Tracing {
 public:
  // Throws ProgramError when the file cannot be written.
  explicit Tracing(const LogOptions& options);
  Tracing(const Tracing&) = delete;
  Tracing& operator=(const Tracing&) = delete;
  // Writes what is left. Nobody may log any more.
  ~Tracing();

  // For the library. Null when none of its lines are wanted. Lives as long as this object.
  ILogger* logger() const { return logger_; }

  // Whether lines of this level are written to the log file.
  bool Wants(LogLevel level) const { return log_ != nullptr && level <= options_.level; }
  // A line of the run's own in the log file, if they are wanted. Any thread; to memory, as a rule.
  void Write(LogLevel level, const char* category, const std::string& text);

  // Hands all lines to the system; false when some were lost, now or before.
  bool Flush();
  // What is to be said about lost lines: the file and the system's reason.
  std::string Complaint() const;

 private:
  const LogOptions options_;
  Runtime::Logger* trace_ = nullptr;
  Runtime::Logger* log_ = nullptr;
  ILogger* logger_ = nullptr;
};

}  // namespace OrvWorkFlow::Program
