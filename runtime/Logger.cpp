#include "runtime/Logger.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "runtime/LogLine.h"

namespace OrvWorkFlow {

namespace {

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

std::string_view WithoutSlash(std::string_view category) {
  return category.starts_with('/') ? category.substr(1) : category;
}

}  // namespace

struct Logger::State {
  State(std::FILE* file, bool owns, Writing how) : stream(file), owns_stream(owns), writing(how) {
    buffer.reserve(kBufferSize + 1024);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  ~State() {
    Write();
    if (owns_stream) {
      std::fclose(stream);
    }
  }

  void Write() noexcept {
    if (!buffer.empty() && std::fwrite(buffer.data(), 1, buffer.size(), stream) != buffer.size()) {
      complete = false;
    }
    buffer.clear();
    if (std::fflush(stream) != 0) {
      complete = false;
    }
  }

  // The category of the line, or nothing when it is not wanted.
  bool ChooseCategory(const char* category, std::string* chosen) {
    const std::lock_guard lock(mutex);
    *chosen = category != nullptr && *category != '\0' ? category : default_category;
    return WithoutSlash(*chosen).starts_with(filter);
  }

  std::FILE* const stream;
  const bool owns_stream;
  const Writing writing;

  std::mutex mutex;  // Guards what follows and the stream; a leaf.
  std::string buffer;
  std::string default_category = "-";
  std::string filter;
  bool complete = true;
};

Logger::Logger(std::unique_ptr<State> state) : SharedObject("Logger", "ILogger"), state_(std::move(state)) {}

Logger::~Logger() = default;

Logger* Logger::NewForStream(std::FILE* stream, Writing writing) noexcept {
  if (stream == nullptr) {
    return nullptr;
  }
  try {
    return new Logger(std::make_unique<State>(stream, false, writing));
  } catch (...) {
    return nullptr;
  }
}

Logger* Logger::NewForFile(const char* path, Writing writing) noexcept {
  std::FILE* const stream = path != nullptr ? std::fopen(path, "wb") : nullptr;
  if (stream == nullptr) {
    return nullptr;
  }
  std::unique_ptr<State> state;
  try {
    state = std::make_unique<State>(stream, true, writing);
  } catch (...) {
    std::fclose(stream);
    return nullptr;
  }
  try {
    return new Logger(std::move(state));
  } catch (...) {
    return nullptr;
  }
}

void Logger::SetCategoryFilter(const char* prefix) {
  const std::lock_guard lock(state_->mutex);
  state_->filter = WithoutSlash(prefix != nullptr ? prefix : "");
}

bool Logger::Flush() noexcept {
  const std::lock_guard lock(state_->mutex);
  state_->Write();
  return state_->complete;
}

void Logger::SetDefaultCategory(const char* category) {
  const std::lock_guard lock(state_->mutex);
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
      const std::lock_guard lock(state_->mutex);
      AppendLogLine(&state_->buffer, std::chrono::system_clock::now(), chosen, text);
      if (state_->writing == Writing::kEachLine || state_->buffer.size() >= kBufferSize) {
        state_->Write();
      }
    }
  } catch (...) {
    const std::lock_guard lock(state_->mutex);
    state_->complete = false;
  }
  va_end(values);
}

}  // namespace OrvWorkFlow
