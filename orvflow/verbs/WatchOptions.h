// The options with which a run is watched: trace, log, progress and page.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "CLI/App.hpp"
#include "orvflow/page/PageOptions.h"
#include "orvflow/watch/Tracing.h"

namespace OrvWorkFlow::Program {

class WatchOptions {
 public:
  // Declares the options. This object outlives the parsing.
  explicit WatchOptions(CLI::App& command);
  WatchOptions(const WatchOptions&) = delete;
  WatchOptions& operator=(const WatchOptions&) = delete;

  // True when the user asked which categories there are.
  bool WantsCategories() const { return trace_ == "help"; }

  // As the user names it; "" for none.
  const std::string& log_file() const { return log_file_; }

  // Each throws ProgramError for what cannot be understood.
  LogOptions MakeLogOptions() const;
  // How often a line tells how far the run is; nothing without --progress.
  std::optional<std::chrono::duration<double>> ProgressInterval() const;
  // The page that shows the run; nothing without --ui.
  std::optional<PageOptions> MakePageOptions() const;

 private:
  LogLevel ParseLevel() const;

  static bool IsGiven(const CLI::Option* option) { return option->count() > 0; }

  const CLI::Option* trace_option_;  // This and the following are the command's.
  const CLI::Option* level_option_;
  const CLI::Option* size_option_;
  const CLI::Option* format_option_;
  const CLI::Option* progress_option_;
  const CLI::Option* page_option_;
  const CLI::Option* token_option_;
  std::string page_;
  std::string token_file_;
  std::string trace_;
  std::string log_file_;
  std::string log_level_;
  std::string log_size_;
  std::string log_format_;
  std::string progress_;
};

// "1500", "64K", "10M" or "2G" in bytes, of 1,024 and its powers; nothing when it is no size above 0.
std::optional<std::uint64_t> ParseSize(std::string_view text);

}  // namespace OrvWorkFlow::Program
