#include "orvflow/verbs/WatchOptions.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <vector>

#include "base/text/Suggestion.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/verbs/TraceCategories.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kFlagWithoutValue[] = "true";  // What a flag without a value gives.
constexpr char kControl[] = "control";
constexpr std::chrono::seconds kProgressInterval{60};
// In the order of their levels.
const std::vector<std::string>& LevelNames() {
  static const std::vector<std::string> names = {"failures", "signals", "trace"};
  return names;
}

ProgramError UsageError(const std::string& text) { return ProgramError(ExitCode::Usage, "run: " + text); }

}  // namespace

// Options are asked whether they were given, not looked for by name: without memory that would end the process.
WatchOptions::WatchOptions(CLI::App& command) {
  trace_option_ = command.add_flag(
      "--trace", trace_,
      "Shows the library's own log on standard error; =CATEGORY only what begins so, =help the categories");
  command.add_option("--log", log_file_, "Appends a line for each signal to a file")->type_name("FILE");
  level_option_ =
      command.add_option("--log-level", log_level_, "What --log writes: failures, signals (default), trace")
          ->type_name("L");
  size_option_ = command.add_option("--log-size", log_size_, "The log's most bytes (K, M, G); then FILE.1 to FILE.3")
                     ->type_name("N");
  format_option_ =
      command.add_option("--log-format", log_format_, "The form of its lines: text (default) or json")->type_name("F");
  progress_option_ =
      command.add_flag("--progress", progress_, "A line every minute, or =SECONDS, when not on a terminal");
  page_option_ = command.add_flag("--ui", page_,
                                  "Shows the run in a browser, at an address that is printed; =PORT there, =control or "
                                  "=PORT,control with buttons to pause and stop it");
  token_option_ = command
                      .add_option("--ui-token-file", token_file_,
                                  "The token in that address, for scripts; else it is a new one each time")
                      ->type_name("FILE");
}

LogOptions WatchOptions::MakeLogOptions() const {
  LogOptions options;
  if (IsGiven(trace_option_)) options.trace_category = trace_ == kFlagWithoutValue ? "" : trace_;
  if (options.trace_category && !IsTraceCategory(*options.trace_category)) {
    throw UsageError("--trace=" + trace_ + ": no such category, see --trace=help" + SuggestTraceCategory(trace_));
  }
  options.file = log_file_;
  options.level = ParseLevel();
  for (const CLI::Option* const option : {level_option_, size_option_, format_option_}) {
    if (IsGiven(option) && log_file_.empty()) throw UsageError(option->get_name() + " needs --log FILE");
  }
  options.as_json = log_format_ == "json";
  if (!log_format_.empty() && !options.as_json && log_format_ != "text") {
    throw UsageError("--log-format " + log_format_ + ": neither text nor json" +
                     Base::Suggest(log_format_, {"text", "json"}));
  }
  if (log_size_.empty()) return options;
  const std::optional<std::uint64_t> size = ParseSize(log_size_);
  if (!size) throw UsageError("--log-size " + log_size_ + ": not a number of bytes, such as 500K or 10M");
  options.size_limit = *size;
  return options;
}

LogLevel WatchOptions::ParseLevel() const {
  if (log_level_.empty()) return LogLevel::Signals;
  for (std::size_t level = 0; level < LevelNames().size(); ++level) {
    if (log_level_ == LevelNames()[level]) return static_cast<LogLevel>(level);
  }
  throw UsageError("--log-level " + log_level_ + ": none of failures, signals, trace" +
                   Base::Suggest(log_level_, LevelNames()));
}

std::optional<std::chrono::duration<double>> WatchOptions::ProgressInterval() const {
  if (!IsGiven(progress_option_)) return std::nullopt;
  if (progress_ == kFlagWithoutValue) return kProgressInterval;
  double seconds = 0;
  const char* const end = progress_.data() + progress_.size();
  const std::from_chars_result result = std::from_chars(progress_.data(), end, seconds);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  if (!is_number || !(seconds > 0) || !std::isfinite(seconds)) {
    throw UsageError("--progress=" + progress_ + ": not a number of seconds above 0");
  }
  return std::chrono::duration<double>(seconds);
}

std::optional<PageOptions> WatchOptions::MakePageOptions() const {
  if (!IsGiven(page_option_)) {
    if (IsGiven(token_option_)) throw UsageError("--ui-token-file needs --ui");
    return std::nullopt;
  }
  PageOptions options;
  options.token_file = token_file_;
  if (page_ == kFlagWithoutValue) return options;
  options.takes_commands = page_ == kControl || page_.ends_with(std::string(",") + kControl);
  if (page_ == kControl) return options;
  const std::string port = page_.substr(0, options.takes_commands ? page_.rfind(',') : page_.size());
  const char* const end = port.data() + port.size();
  const std::from_chars_result result = std::from_chars(port.data(), end, options.port);
  if (result.ec == std::errc() && result.ptr == end && options.port > 0) return options;
  throw UsageError("--ui=" + page_ + ": neither a port, a number from 1 to 65535, nor control, nor PORT,control");
}

std::optional<std::uint64_t> ParseSize(std::string_view text) {
  unsigned shift = 0;
  if (!text.empty()) {
    const std::size_t unit = std::string_view("KMG").find(static_cast<char>(text.back() & ~0x20));
    if (unit != std::string_view::npos) {
      shift = 10 * (static_cast<unsigned>(unit) + 1);
      text.remove_suffix(1);
    }
  }
  std::uint64_t size = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, size);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  if (!is_number || size == 0 || size > std::numeric_limits<std::uint64_t>::max() >> shift) return std::nullopt;
  return size << shift;
}

}  // namespace OrvWorkFlow::Program
