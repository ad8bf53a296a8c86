#include "orvflow/watch/RunReport.h"

#include <algorithm>

#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

std::string TwoDigits(std::uint64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); }

// As text with blanks in front.
std::string Column(std::string_view text, std::size_t width) {
  const std::size_t own = ColumnsOf(text);
  return std::string(own < width ? width - own : 0, ' ').append(text);
}

std::string DescribeWork(const std::vector<RunTally::Work>& work) {
  if (work.empty()) return {};
  std::string text = "At work:\n";
  for (const RunTally::Work& each : work) {
    text += "  " + NameOfEnd(each.type, each.instance, each.signal) + ", " + TimeText(each.time) + "\n";
  }
  return text;
}

std::string DescribeQueue(const RunDetails& details) {
  if (details.first_waiting.empty()) return {};
  std::string text = "Queue:\n";
  for (const RunTally::Waiting& each : details.first_waiting) {
    text += "  " + Column(std::to_string(each.number), 8) + "  " + (each.sender.empty() ? "start" : each.sender) +
            " -> " + each.receiver + "\n";
  }
  if (details.standing.waiting > details.first_waiting.size()) {
    text += "  and " + GroupedNumber(details.standing.waiting - details.first_waiting.size()) + " more\n";
  }
  return text;
}

std::string StateOf(const RunTally::Node& node, const std::vector<RunTally::Work>& work) {
  const auto at_work = std::find_if(work.begin(), work.end(), [&](const RunTally::Work& each) {
    return each.type == node.type && each.instance == node.instance;
  });
  if (at_work != work.end()) return "at work " + TimeText(at_work->time);
  if (node.busy) return "busy";
  return node.made ? "idle" : "not made";
}

std::string DescribeNodes(const RunDetails& details) {
  if (details.nodes.empty()) return {};
  std::string text = "Nodes:\n   delivered   failed  waiting  state          node\n";
  for (const RunTally::Node& node : details.nodes) {
    const std::string state = StateOf(node, details.work);
    const std::size_t padding = state.size() < 15 ? 15 - state.size() : 1;
    text += Column(GroupedNumber(node.delivered), 12) + Column(GroupedNumber(node.failed), 9) +
            Column(GroupedNumber(node.waiting), 9) + "  " + state + std::string(padding, ' ') + node.type + " " +
            node.instance + "\n";
  }
  return text;
}

std::string DescribeFailures(const std::vector<Repeated>& failures) {
  if (failures.empty()) return {};
  std::string text = "Failures:\n";
  for (const auto& [message, times] : failures) text += Column(GroupedNumber(times), 12) + "  " + message + "\n";
  return text;
}

std::string DescribeUntaken(const std::vector<RunTally::Untaken>& untaken) {
  if (untaken.empty()) return {};
  std::string text = "Signals that nothing takes:\n";
  for (const RunTally::Untaken& each : untaken) {
    text += Column(GroupedNumber(each.times), 12) + "  " + NameOfEnd(each.type, each.instance, each.signal) + "\n";
  }
  return text;
}

}  // namespace

std::string GroupedNumber(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

std::string TimeText(std::chrono::nanoseconds time) {
  const auto tenths = static_cast<std::uint64_t>(time.count() / 100'000'000);
  const std::uint64_t seconds = tenths / 10;
  if (seconds < 60) return std::to_string(seconds) + "." + std::to_string(tenths % 10) + " s";
  const std::string rest = TwoDigits(seconds % 60);
  if (seconds < 3600) return std::to_string(seconds / 60) + ":" + rest;
  return std::to_string(seconds / 3600) + ":" + TwoDigits(seconds / 60 % 60) + ":" + rest;
}

std::string CountText(std::uint64_t number, const std::string& thing) {
  return GroupedNumber(number) + " " + thing + (number == 1 ? "" : "s");
}

std::vector<StatusPart> DescribeStanding(const RunStanding& standing) {
  std::vector<StatusPart> parts;
  parts.push_back({TimeText(standing.run_time), 4});
  parts.push_back({GroupedNumber(standing.delivered) + " delivered"});
  parts.push_back({GroupedNumber(standing.per_second) + "/s", 3});
  parts.push_back({GroupedNumber(standing.waiting) + " queued", 1});
  const bool failed = standing.failures > 0;
  parts.push_back({CountText(standing.failures, "failure"), failed ? 0U : 5U, false, failed});
  if (standing.durable) parts.push_back({"durable up to " + GroupedNumber(*standing.durable), 1});
  if (standing.since_save) parts.push_back({"saved " + TimeText(*standing.since_save) + " ago", 2});
  if (!standing.work.empty()) {
    parts.push_back({Visible(standing.work), 0, true});
    parts.push_back({TimeText(standing.work_time), 0, false, false, " "});
  }
  return parts;
}

std::string StandingLine(const RunStanding& standing) {
  return FitStatus(DescribeStanding(standing), static_cast<std::size_t>(-1), false);
}

std::string ReportText(const RunDetails& details) {
  const std::string text = details.title + "\n" + StandingLine(details.standing) + "\n" + DescribeWork(details.work) +
                           DescribeQueue(details) + DescribeNodes(details) + DescribeFailures(details.failures) +
                           DescribeUntaken(details.untaken);
  std::string printable;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    printable += Visible(std::string_view(text).substr(begin, end - begin)) + "\n";
    begin = end + 1;
  }
  return printable;
}

}  // namespace OrvWorkFlow::Program
