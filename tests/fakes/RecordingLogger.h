// A logger that remembers its lines, with the thread that wrote each.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

struct LogLine {
  std::string category;
  std::string text;  // Formatted.
  std::thread::id thread;
};

// Any thread. Lives on the stack of a test: Release does nothing, so that it may be given away as an object of the
// caller's.
class RecordingLogger final : public OrvWorkFlow::Sdk::ObjectProtocol<RecordingLogger, OrvWorkFlow::ILogger> {
 public:
  RecordingLogger() : ObjectProtocol("Logger", "ILogger") {}

  void SetDefaultCategory(const char* category) override;
  void Log(const char* category, const char* format, ...) override ORV_PRINTF_LIKE(3, 4);
  void Release() override {}

  std::vector<LogLine> GetLines() const;
  // The texts of all lines, of one category, of one thread; in order.
  std::vector<std::string> GetTexts() const;
  std::vector<std::string> GetTexts(std::string_view category) const;
  std::vector<std::string> GetTexts(std::thread::id thread) const;
  // The lines as "category: text".
  std::vector<std::string> GetTrace() const;
  std::vector<std::string> GetTrace(std::thread::id thread) const;

  std::size_t CountText(std::string_view text) const;
  // True when a line of exactly that text is there within the time.
  bool WaitForText(std::string_view text, unsigned milliseconds) const;
  std::string GetDefaultCategory() const;
  unsigned GetDefaultCategoryCalls() const;
  void Clear();

 private:
  template <class Wanted, class Form>
  std::vector<std::string> Collect(Wanted wanted, Form form) const;
  std::size_t CountTextLocked(std::string_view text) const;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<LogLine> lines_;
  std::string default_category_;
  unsigned default_category_calls_ = 0;
};

}  // namespace orv_test
