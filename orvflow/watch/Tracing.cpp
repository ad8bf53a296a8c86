#include "orvflow/watch/Tracing.h"
#include "OrvWorkFlow/Names.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <new>

#include "host/files/HostFiles.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

std::string FormatText(const char* format, std::va_list values) {
  std::va_list copy;
  va_copy(copy, values);
  const int length = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (length < 0) return format;
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, values);
  return text;
}

// Passes every line on to two loggers, which it does not own.
class TwoLoggers final : public Sdk::ObjectProtocol<TwoLoggers, ILogger> {
 public:
  TwoLoggers(ILogger& first, ILogger& second)
      : ObjectProtocol(ObjectNames::kLogger, InterfaceNames::kLogger), first_(first), second_(second) {}

  void SetDefaultCategory(const char* category) override {
    first_.SetDefaultCategory(category);
    second_.SetDefaultCategory(category);
  }

  void Log(const char* category, const char* format, ...) override ORV_PRINTF_LIKE(3, 4) {
    if (format == nullptr) return;
    std::va_list values;
    va_start(values, format);
    try {
      const std::string text = FormatText(format, values);
      first_.Log(category, "%s", text.c_str());
      second_.Log(category, "%s", text.c_str());
    } catch (const std::bad_alloc&) {  // A line less; the workflow goes on.
    }
    va_end(values);
  }

 private:
  friend class Sdk::ObjectProtocol<TwoLoggers, ILogger>;
  ~TwoLoggers() = default;

  ILogger& first_;
  ILogger& second_;
};

}  // namespace

Tracing::Tracing(const LogOptions& options) : options_(options) {
  if (options.trace_category) {
    trace_ = Runtime::Logger::NewForStream(stderr, Runtime::Logger::Writing::kEachLine);
    if (trace_ == nullptr) throw std::bad_alloc();
    trace_->SetCategoryFilter(options.trace_category->c_str());
    logger_ = trace_;
  }
  if (options.file.empty()) return;
  Runtime::Logger::Growth growth;
  growth.limit = options.size_limit;
  log_ = Runtime::Logger::NewForAppending(Host::MakeAbsolutePath(options.file).c_str(),
                                          Runtime::Logger::Writing::kBuffered, growth);
  if (log_ == nullptr) {
    const std::string reason = std::strerror(errno);
    if (trace_ != nullptr) trace_->Release();
    throw FileError(ExitCode::Failed, options.file, "", "cannot be written: " + reason);
  }
  if (options.as_json) log_->SetForm(Runtime::Logger::Form::kJson);
  if (options.level < LogLevel::Trace) return;
  logger_ = trace_ == nullptr ? static_cast<ILogger*>(log_) : new TwoLoggers(*trace_, *log_);
}

Tracing::~Tracing() {
  if (logger_ != trace_ && logger_ != log_) logger_->Release();
  if (trace_ != nullptr) trace_->Release();
  if (log_ != nullptr) log_->Release();
}

void Tracing::Write(LogLevel level, const char* category, const std::string& text) {
  if (Wants(level)) log_->Log(category, "%s", text.c_str());
}

bool Tracing::Flush() {
  const bool trace_done = trace_ == nullptr || trace_->Flush();
  const bool log_done = log_ == nullptr || log_->Flush();
  return trace_done && log_done;
}

std::string Tracing::Complaint() const {
  const int error = log_ != nullptr ? log_->GetFirstError() : 0;
  if (error == 0) return "standard error: the trace is not complete";
  return options_.file + ": the log is not complete: " + std::strerror(error);
}

}  // namespace OrvWorkFlow::Program
