// Tracing to the host's logger; silent while there is none.
#pragma once

#include <atomic>
#include <string>

#include "OrvWorkFlow/ILogger.h"

namespace OrvWorkFlow::Core {

inline constexpr char kDefaultLogCategory[] = "/workflow/default";

// Holds the logger once it has been found. Any thread.
class Tracer {
 public:
  // True once a logger is there: callers format nothing before.
  explicit operator bool() const { return logger_.load(std::memory_order_acquire) != nullptr; }

  // Keeps the logger (not owned) and gives it the default category. Null is ignored.
  void SetLogger(ILogger* logger) noexcept;

  // One line: a printf-style format and its values; without values, a text that holds no "%". An exception of the
  // logger is swallowed, and its line is lost.
  template <class... Values>
  void Log(const char* category, const char* format, Values... values) const noexcept {
    ILogger* logger = logger_.load(std::memory_order_acquire);
    if (logger == nullptr) return;
    try {
      if constexpr (sizeof...(values) == 0) {
        logger->Log(category, "%s", format);
      } else {
        logger->Log(category, format, values...);
      }
    } catch (...) {  // Tracing never changes what happens.
    }
  }

  // A text that is ready: "%" in it stands for itself.
  void LogText(const char* category, const std::string& text) const noexcept { Log(category, "%s", text.c_str()); }

 private:
  std::atomic<ILogger*> logger_ = nullptr;
};

}  // namespace OrvWorkFlow::Core
