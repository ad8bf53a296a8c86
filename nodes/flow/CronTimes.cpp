#include "nodes/flow/CronTimes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <stdexcept>
#include <vector>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kMonths[] = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
constexpr char kWeekdays[] = "SUNMONTUEWEDTHUFRISAT";
constexpr int kYearsLooked = 9;  // The 29th of February on a given weekday apart, all that comes again does so in it.

bool Has(std::uint64_t bits, int number) { return (bits >> number & 1U) != 0; }

int DaysIn(int year, int month) {
  const std::chrono::year_month_day_last last =
      std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month)) / std::chrono::last;
  return static_cast<int>(static_cast<unsigned>(last.day()));
}

int WeekdayOf(const ClockTime& time) {
  return static_cast<int>((Clock::FromUtc({time.year, time.month, time.day, 0, 0, 0}) / 86400 % 7 + 11) % 7);
}

std::vector<std::string_view> Split(std::string_view text, std::string_view between) {
  std::vector<std::string_view> parts;
  for (std::size_t i = text.find_first_not_of(between); i < text.size();) {
    const std::size_t end = std::min(text.find_first_of(between, i), text.size());
    parts.push_back(text.substr(i, end - i));
    i = text.find_first_not_of(between, end);
  }
  return parts;
}

std::string_view WithoutShortForm(std::string_view text) {
  constexpr std::array<std::array<std::string_view, 2>, 7> kForms = {{{"@hourly", "0 * * * *"},
                                                                      {"@daily", "0 0 * * *"},
                                                                      {"@midnight", "0 0 * * *"},
                                                                      {"@weekly", "0 0 * * 0"},
                                                                      {"@monthly", "0 0 1 * *"},
                                                                      {"@yearly", "0 0 1 1 *"},
                                                                      {"@annually", "0 0 1 1 *"}}};
  for (const auto& [name, meaning] : kForms) {
    if (text == name) return meaning;
  }
  return text;
}

[[noreturn]] void Fail(std::string_view text, const std::string& problem) {
  throw std::runtime_error("\"" + std::string(text.substr(0, 80)) + "\" " + problem);
}

}  // namespace

ClockTime Clock::Utc(std::int64_t moment) {
  const std::int64_t day = moment >= 0 ? moment / 86400 : -((86399 - moment) / 86400);
  const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(day))};
  const int second = static_cast<int>(moment - day * 86400);
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          second / 3600,
          second / 60 % 60,
          second % 60};
}

std::int64_t Clock::FromUtc(const ClockTime& time) {
  const std::chrono::sys_days day{std::chrono::year(time.year) / time.month / time.day};
  return std::int64_t{day.time_since_epoch().count()} * 86400 + time.hour * 3600 + time.minute * 60 + time.second;
}

CronTimes::CronTimes(std::string_view expression) {
  std::vector<std::string_view> fields = Split(WithoutShortForm(expression), " \t\r\n");
  if (fields.size() == 5) fields.insert(fields.begin(), "0");
  if (fields.size() != 6) {
    Fail(expression,
         "is no schedule; write [second] minute hour day-of-month month day-of-week, as in 0 3 * * MON-FRI");
  }
  seconds_ = Field(fields[0], {0, 59, nullptr, "second"});
  minutes_ = Field(fields[1], {0, 59, nullptr, "minute"});
  hours_ = Field(fields[2], {0, 23, nullptr, "hour"});
  days_ = Field(fields[3], {1, 31, nullptr, "day of the month"});
  months_ = Field(fields[4], {1, 12, kMonths, "month"});
  weekdays_ = Field(fields[5], {0, 7, kWeekdays, "day of the week"});
  if (Has(weekdays_, 7)) weekdays_ |= 1U;
  any_day_ = fields[3] == "*" || fields[3] == "?";
  any_weekday_ = fields[5] == "*" || fields[5] == "?";
}

CronTimes::Bits CronTimes::Field(std::string_view text, const Bounds& bounds) {
  Bits bits = 0;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    bits |= Part(text.substr(begin, end - begin), bounds);
    begin = end + 1;
  }
  return bits;
}

// "*", "a", "a-b", each perhaps with "/n"; "a/n" goes up to the end.
CronTimes::Bits CronTimes::Part(std::string_view text, const Bounds& bounds) {
  const std::size_t slash = text.find('/');
  const std::string_view range = text.substr(0, slash);
  int step = 1;
  if (slash != std::string_view::npos) {
    const std::string_view digits = text.substr(slash + 1);
    const std::from_chars_result result = std::from_chars(digits.data(), digits.data() + digits.size(), step);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size() || step < 1) {
      Fail(text, std::string("is no ") + bounds.what + ": its step is no number above 0");
    }
  }
  int first = bounds.least;
  int last = bounds.most;
  if (range != "*" && range != "?") {
    const std::size_t dash = range.find('-');
    first = Number(range.substr(0, dash), bounds);
    if (dash != std::string_view::npos) {
      last = Number(range.substr(dash + 1), bounds);
    } else if (slash == std::string_view::npos) {
      last = first;
    }
    if (last < first) Fail(text, std::string("is no ") + bounds.what + ": it ends before it begins");
  }
  Bits bits = 0;
  for (int number = first; number <= last; number += std::min(step, 64)) bits |= Bits{1} << number;
  return bits;
}

int CronTimes::Number(std::string_view text, const Bounds& bounds) {
  if (bounds.names != nullptr && text.size() == 3) {
    const std::string_view names = bounds.names;
    for (std::size_t i = 0; i < names.size(); i += 3) {
      bool is_same = true;
      for (std::size_t k = 0; k < 3; ++k) is_same = is_same && (text[k] & ~0x20) == names[i + k];
      if (is_same) return bounds.least + static_cast<int>(i / 3);
    }
  }
  int number = 0;
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_number = result.ec == std::errc() && result.ptr == text.data() + text.size();
  if (!is_number || number < bounds.least || number > bounds.most) {
    Fail(text, std::string("is no ") + bounds.what + ", from " + std::to_string(bounds.least) + " to " +
                   std::to_string(bounds.most));
  }
  return number;
}

bool CronTimes::HasDay(const ClockTime& time) const {
  const bool day = Has(days_, time.day);
  const bool weekday = Has(weekdays_, WeekdayOf(time));
  if (any_day_ || any_weekday_) return day && weekday;
  return day || weekday;
}

bool CronTimes::Advance(ClockTime& time, int last_year) const {
  while (time.year <= last_year) {
    if (time.month > 12) {
      time = {time.year + 1, 1, 1, 0, 0, 0};
    } else if (!Has(months_, time.month) || time.day > DaysIn(time.year, time.month)) {
      time = {time.year, time.month + 1, 1, 0, 0, 0};
    } else if (time.hour > 23 || !HasDay(time)) {
      time = {time.year, time.month, time.day + 1, 0, 0, 0};
    } else if (time.minute > 59 || !Has(hours_, time.hour)) {
      time = {time.year, time.month, time.day, time.hour + 1, 0, 0};
    } else if (time.second > 59 || !Has(minutes_, time.minute)) {
      time = {time.year, time.month, time.day, time.hour, time.minute + 1, 0};
    } else if (!Has(seconds_, time.second)) {
      ++time.second;
    } else {
      return true;
    }
  }
  return false;
}

std::optional<std::int64_t> CronTimes::Next(std::int64_t after, bool is_utc) const {
  ClockTime time = is_utc ? Clock::Utc(after + 1) : Clock::Local(after + 1);
  const int last_year = time.year + kYearsLooked;
  while (Advance(time, last_year)) {
    const std::int64_t moment = is_utc ? Clock::FromUtc(time) : Clock::FromLocal(time);
    if (moment > after) return moment;
    ++time.second;  // The clocks were set back: that time was already.
  }
  return std::nullopt;
}

}  // namespace OrvWorkFlow::Nodes
