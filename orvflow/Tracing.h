// The logger of a run: "--trace" lines on standard error, "--log" lines in a file, both, or none.
#pragma once

#include <optional>
#include <string>

#include "OrvWorkFlow/ILogger.h"
#include "runtime/Logger.h"

namespace OrvWorkFlow::Program {

class Tracing {
 public:
  // `trace_category`: nothing for no trace, "" for all lines, else the beginning of the categories to show. An empty
  // `log_file` means none. Throws ProgramError when the file cannot be written.
  Tracing(const std::optional<std::string>& trace_category, const std::string& log_file);
  Tracing(const Tracing&) = delete;
  Tracing& operator=(const Tracing&) = delete;
  // Writes what is left. Nobody may log any more.
  ~Tracing();

  // Null when nothing is to be logged. Lives as long as this object.
  ILogger* logger() const { return logger_; }

  // Hands all lines to the system; false when some were lost.
  bool Flush();

 private:
  Logger* trace_ = nullptr;
  Logger* log_ = nullptr;
  ILogger* logger_ = nullptr;
};

}  // namespace OrvWorkFlow::Program
