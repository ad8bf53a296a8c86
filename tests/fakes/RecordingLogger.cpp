#include "tests/fakes/RecordingLogger.h"

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>

namespace orv_test {

namespace {

ORV_PRINTF_LIKE(1, 0) std::string Format(const char* format, std::va_list values) {
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) {
    return std::string("(unprintable) ") + format;
  }
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, values);
  text.pop_back();
  return text;
}

std::string FormTrace(const LogLine& line) { return line.category + ": " + line.text; }
std::string FormText(const LogLine& line) { return line.text; }

}  // namespace

void RecordingLogger::SetDefaultCategory(const char* category) {
  const std::lock_guard lock(mutex_);
  default_category_ = category != nullptr ? category : "(null)";
  ++default_category_calls_;
}

void RecordingLogger::Log(const char* category, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  std::string text = format != nullptr ? Format(format, values) : "(null)";
  va_end(values);
  const std::lock_guard lock(mutex_);
  const bool has_category = category != nullptr && *category != '\0';
  lines_.push_back({has_category ? category : default_category_, std::move(text), std::this_thread::get_id()});
  changed_.notify_all();
}

template <class Wanted, class Form>
std::vector<std::string> RecordingLogger::Collect(Wanted wanted, Form form) const {
  std::vector<std::string> texts;
  const std::lock_guard lock(mutex_);
  for (const LogLine& line : lines_) {
    if (wanted(line)) {
      texts.push_back(form(line));
    }
  }
  return texts;
}

std::vector<LogLine> RecordingLogger::GetLines() const {
  const std::lock_guard lock(mutex_);
  return lines_;
}

std::vector<std::string> RecordingLogger::GetTexts() const {
  return Collect([](const LogLine&) { return true; }, FormText);
}

std::vector<std::string> RecordingLogger::GetTexts(std::string_view category) const {
  return Collect([category](const LogLine& line) { return line.category == category; }, FormText);
}

std::vector<std::string> RecordingLogger::GetTexts(std::thread::id thread) const {
  return Collect([thread](const LogLine& line) { return line.thread == thread; }, FormText);
}

std::vector<std::string> RecordingLogger::GetTrace() const {
  return Collect([](const LogLine&) { return true; }, FormTrace);
}

std::vector<std::string> RecordingLogger::GetTrace(std::thread::id thread) const {
  return Collect([thread](const LogLine& line) { return line.thread == thread; }, FormTrace);
}

std::size_t RecordingLogger::CountTextLocked(std::string_view text) const {
  const auto count =
      std::count_if(lines_.begin(), lines_.end(), [text](const LogLine& line) { return line.text == text; });
  return static_cast<std::size_t>(count);
}

std::size_t RecordingLogger::CountText(std::string_view text) const {
  const std::lock_guard lock(mutex_);
  return CountTextLocked(text);
}

bool RecordingLogger::WaitForText(std::string_view text, unsigned milliseconds) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                           [this, text] { return CountTextLocked(text) != 0; });
}

std::string RecordingLogger::GetDefaultCategory() const {
  const std::lock_guard lock(mutex_);
  return default_category_;
}

unsigned RecordingLogger::GetDefaultCategoryCalls() const {
  const std::lock_guard lock(mutex_);
  return default_category_calls_;
}

void RecordingLogger::Clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

}  // namespace orv_test
