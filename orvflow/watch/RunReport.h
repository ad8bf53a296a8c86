// How a run stands, in words: for the status line, a line of progress, and the whole report.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orvflow/terminal/StatusLine.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {

// What is known of a run at one moment, in a few numbers.
struct RunStanding {
  std::uint64_t delivered = 0;
  std::uint64_t per_second = 0;
  std::uint64_t waiting = 0;
  std::uint64_t failures = 0;
  std::string work;  // the node that has been at work longest, "" for none
  std::chrono::nanoseconds work_time{};
  std::chrono::nanoseconds run_time{};
  std::optional<std::chrono::nanoseconds> since_save;  // nothing before the first one
  std::optional<std::uint64_t> durable;  // deliveries that the disk has; nothing where that is not asked for
};

std::vector<StatusPart> DescribeStanding(const RunStanding& standing);
// The same in one line.
std::string StandingLine(const RunStanding& standing);

// A message and how often it came.
using Repeated = std::pair<std::string, std::uint64_t>;

struct RunDetails {
  std::string title;  // "Backup (flow.xml), process 1234"
  RunStanding standing;
  std::vector<RunTally::Work> work;
  std::vector<RunTally::Waiting> first_waiting;
  std::vector<RunTally::Node> nodes;
  std::vector<Repeated> failures;
  std::vector<RunTally::Untaken> untaken;
};

// Lines, each ended.
std::string ReportText(const RunDetails& details);

// docs/status.schema.json.
std::string ReportAsJson(const RunDetails& details);

// "1,234".
std::string GroupedNumber(std::uint64_t number);
// "3.2 s", "1:05", "2:00:01".
std::string TimeText(std::chrono::nanoseconds time);
// "1 signal", "2 signals".
std::string CountText(std::uint64_t number, const std::string& thing);

}  // namespace OrvWorkFlow::Program
