#include "nodes/flow/Schedule.h"

#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "nodes/flow/CronTimes.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "begins; one that runs already begins anew"},
    {"stop", "ends"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"due", true, "a time has come; it is in /Schedule/<instance>/Time"},
    {"finished", false, "there is no further time"},
};
constexpr char kAll[] = "all";
constexpr char kNone[] = "none";
constexpr const char* kMissedWords[] = {"once", kAll, kNone};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Cron", "", "[second] minute hour day-of-month month day-of-week, as in 0 3 * * MON-FRI"),
    TextParameterRow("Missed", "once",
                     "what becomes of times at which the workflow was stopped: once (one signal for all), all, none"),
    NumberParameterRow("Times", "0", 0, "how many times; 0 for no end"),
    BooleanParameterRow("Utc", false, "whether the times are those of UTC, and not local ones"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Missed", .words = kMissedWords},
};

constexpr char kCron[] = "Cron";
constexpr char kMissed[] = "Missed";
constexpr char kUtc[] = "Utc";
constexpr char kLeft[] = "Left";
// A time that came so many seconds ago was missed; one that came later is just being fired late.
constexpr std::int64_t kLate = 5;

}  // namespace

constinit const NodeTable<ParameterRule> Schedule::kRules = kRuleRows;

constinit const NodeDescription Schedule::kDescription = {
    .sentence = "Fires at the times that a cron expression names",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Schedule::OnInput(std::string_view signal, Outputs& outputs) {
  RemoveAll();
  if (signal == "stop") return true;
  const std::string cron = TextParameter("Cron");
  const std::string missed = TextParameter("Missed");
  const bool is_utc = BooleanParameter("Utc");
  // Throws before anything is changed.
  if (!CronTimes(cron).Next(Now() / 1000, is_utc)) {
    throw std::runtime_error("the parameter Cron is \"" + cron + "\", and there is no such day in the next nine years");
  }
  Sdk::NodeRecord record = Record();
  record.SetText(kCron, cron);
  record.SetText(kMissed, missed);
  record.SetNumber(kUtc, is_utc ? 1 : 0);
  const std::int32_t limit = NumberParameter("Times");
  if (limit > 0) {
    record.SetNumber(kLeft, limit);
  } else {
    record.Remove(kLeft);
  }
  AddNext(Now() / 1000, outputs);
  return true;
}

void Schedule::AddNext(std::int64_t after, Outputs& outputs) {
  const Sdk::NodeRecord record = Record();
  const bool is_over = record.Has(kLeft) && record.Number(kLeft) <= 0;
  const std::optional<std::int64_t> next =
      is_over ? std::nullopt : CronTimes(record.Text(kCron)).Next(after, record.Number(kUtc) != 0);
  if (next) {
    Add(*next * 1000);
  } else {
    outputs.push_back("finished");
  }
}

void Schedule::OnDue(std::int64_t time, Outputs& outputs) {
  const std::int64_t moment = time / 1000;
  const std::int64_t now = Now() / 1000;
  const std::string missed = Record().Text(kMissed);
  const bool is_missed = now - moment > kLate;
  if (!is_missed || missed != kNone) Fire(moment, outputs);
  AddNext(is_missed && missed != kAll ? now : moment, outputs);
}

void Schedule::Fire(std::int64_t moment, Outputs& outputs) {
  Sdk::NodeRecord record = Record();
  const ClockTime time = record.Number(kUtc) != 0 ? Clock::Utc(moment) : Clock::Local(moment);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                time.minute, time.second);
  record.SetText("Time", text);
  if (record.Has(kLeft)) record.SetNumber(kLeft, record.Number(kLeft) - 1);
  outputs.push_back("due");
}

}  // namespace OrvWorkFlow::Nodes
