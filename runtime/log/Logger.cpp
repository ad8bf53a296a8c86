#include "runtime/log/Logger.h"
#include "OrvWorkFlow/Names.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "base/lock/Mutex.h"
#include "runtime/log/LogLine.h"
#include "runtime/log/LogSink.h"

namespace OrvWorkFlow::Runtime {

namespace {

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

std::string_view WithoutSlash(std::string_view category) {
  return category.starts_with('/') ? category.substr(1) : category;
}

}  // namespace

struct Logger::State {
  State(std::unique_ptr<LogSink> where, Writing how) : sink(std::move(where)), writing(how) {
    buffer.reserve(kBufferSize + 1024);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  ~State() ORV_NO_THREAD_CHECK { Write(); }

  void Write() noexcept ORV_REQUIRES(mutex) {
    if (buffer.empty()) return;
    if (lost == 0 || SayWhatIsMissing())
      WriteLines(buffer);
    else
      Lose(buffer);
    buffer.clear();
  }

  bool WriteLines(std::string_view lines) noexcept ORV_REQUIRES(mutex) {
    errno = 0;
    const std::size_t written = sink->Write(lines);
    if (written == lines.size()) return true;
    last_error = errno != 0 ? errno : EIO;
    if (written > 0) is_cut = lines[written - 1] != '\n';
    Lose(lines.substr(written));
    return false;
  }

  void Lose(std::string_view lines) noexcept ORV_REQUIRES(mutex) {
    lost += static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
    if (first_error == 0) first_error = last_error;
  }

  void AppendLine(std::string* out, std::string_view category, std::string_view text) const ORV_REQUIRES(mutex) {
    const auto append = form == Form::kJson ? &AppendJsonLogLine : &AppendLogLine;
    append(out, std::chrono::system_clock::now(), category, text);
  }

  bool SayWhatIsMissing() noexcept ORV_REQUIRES(mutex) {
    try {
      std::string line = is_cut ? "\n" : "";
      AppendLine(&line, default_category,
                 std::to_string(lost) + (lost == 1 ? " line is missing here: " : " lines are missing here: ") +
                     std::strerror(last_error));
      const std::size_t missing = std::exchange(lost, 0);
      if (WriteLines(line)) {
        is_cut = false;
        return true;
      }
      lost = missing;
    } catch (const std::bad_alloc&) {  // It is said another time.
    }
    return false;
  }

  // The category of the line, or nothing when it is not wanted.
  bool ChooseCategory(const char* category, std::string* chosen) {
    const Base::Hold lock(mutex);
    *chosen = category != nullptr && *category != '\0' ? category : default_category;
    return WithoutSlash(*chosen).starts_with(filter);
  }

  const std::unique_ptr<LogSink> sink;
  const Writing writing;

  Base::Mutex mutex;  // Guards what follows and the sink; a leaf.
  std::string buffer ORV_GUARDED_BY(mutex);
  std::string default_category ORV_GUARDED_BY(mutex) = "-";
  std::string filter ORV_GUARDED_BY(mutex);
  Form form ORV_GUARDED_BY(mutex) = Form::kText;
  std::size_t lost ORV_GUARDED_BY(mutex) = 0;  // lines that the log does not yet say are missing
  int last_error ORV_GUARDED_BY(mutex) = 0;
  int first_error ORV_GUARDED_BY(mutex) = 0;
  bool is_cut ORV_GUARDED_BY(mutex) = false;  // The last of what was written is a part of a line.
};

Logger::Logger(std::unique_ptr<State> state)
    : SharedObject(ObjectNames::kLogger, InterfaceNames::kLogger), state_(std::move(state)) {}

Logger::~Logger() = default;

template <class OpenSink>
Logger* Logger::New(const OpenSink& open_sink, Writing writing) noexcept {
  try {
    std::unique_ptr<LogSink> sink = open_sink();
    if (sink == nullptr) return nullptr;
    return new Logger(std::make_unique<State>(std::move(sink), writing));
  } catch (...) {
    errno = ENOMEM;
    return nullptr;
  }
}

Logger* Logger::NewForStream(std::FILE* stream, Writing writing) noexcept {
  return New([stream] { return OpenStreamSink(stream); }, writing);
}

Logger* Logger::NewForFile(const char* path, Writing writing) noexcept {
  return New([path] { return OpenNewFileSink(path); }, writing);
}

Logger* Logger::NewForAppending(const char* path, Writing writing, Growth growth) noexcept {
  return New([path, growth] { return OpenAppendingSink(path, growth); }, writing);
}

void Logger::SetCategoryFilter(const char* prefix) {
  const Base::Hold lock(state_->mutex);
  state_->filter = WithoutSlash(prefix != nullptr ? prefix : "");
}

void Logger::SetForm(Form form) {
  const Base::Hold lock(state_->mutex);
  state_->form = form;
}

bool Logger::Flush() noexcept {
  const Base::Hold lock(state_->mutex);
  state_->Write();
  return state_->first_error == 0;
}

int Logger::GetFirstError() noexcept {
  const Base::Hold lock(state_->mutex);
  return state_->first_error;
}

void Logger::SetDefaultCategory(const char* category) {
  const Base::Hold lock(state_->mutex);
  state_->default_category = category != nullptr && *category != '\0' ? category : "-";
}

void Logger::Log(const char* category, const char* format, ...) {
  if (format == nullptr) {
    return;
  }
  std::va_list values;
  va_start(values, format);
  try {
    std::string chosen;
    if (state_->ChooseCategory(category, &chosen)) {
      const std::string text = FormatLogText(format, values);
      const Base::Hold lock(state_->mutex);
      state_->AppendLine(&state_->buffer, chosen, text);
      if (state_->writing == Writing::kEachLine || state_->buffer.size() >= kBufferSize) {
        state_->Write();
      }
    }
  } catch (...) {
    const Base::Hold lock(state_->mutex);
    state_->last_error = ENOMEM;
    state_->Lose("\n");
  }
  va_end(values);
}

}  // namespace OrvWorkFlow::Runtime
