// The times that a cron expression names: "[second] minute hour day-of-month month day-of-week".
//
// A field is "*", a number, a range "a-b", each of these with a step "/n", or several of them behind commas; months and
// days of the week have their English names of three letters, too, and Sunday is 0 or 7. "?" is "*". Where both days
// are given, one of them is enough. @hourly, @daily (@midnight), @weekly, @monthly and @yearly (@annually) are short
// forms.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Nodes {

// A moment as clocks show it. Month and day begin with 1, Sunday is 0.
struct ClockTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// How moments, in seconds since 1970, are shown. Any thread.
class Clock {
 public:
  static ClockTime Utc(std::int64_t moment);
  static ClockTime Local(std::int64_t moment);
  // A local time that a change of the clocks leaves out is the moment of as much later; of one that comes twice it is
  // either.
  static std::int64_t FromUtc(const ClockTime& time);
  static std::int64_t FromLocal(const ClockTime& time);
};

class CronTimes {
 public:
  // Throws std::runtime_error with what is wrong.
  explicit CronTimes(std::string_view expression);

  // The first moment behind `after`, in seconds since 1970; nothing when there is none within the next nine years.
  std::optional<std::int64_t> Next(std::int64_t after, bool is_utc) const;

 private:
  struct Bounds {
    int least;
    int most;
    const char* names;  // each of three letters, from `least` on; or null
    const char* what;
  };
  using Bits = std::uint64_t;

  static Bits Field(std::string_view text, const Bounds& bounds);
  static Bits Part(std::string_view text, const Bounds& bounds);
  static int Number(std::string_view text, const Bounds& bounds);
  bool HasDay(const ClockTime& time) const;
  // Makes `time` the first one from it on that fits; false beyond `last_year`.
  bool Advance(ClockTime& time, int last_year) const;

  Bits seconds_ = 0;
  Bits minutes_ = 0;
  Bits hours_ = 0;
  Bits days_ = 0;
  Bits months_ = 0;
  Bits weekdays_ = 0;
  bool any_day_ = false;      // the day of the month is "*"
  bool any_weekday_ = false;  // the day of the week is "*"
};

}  // namespace OrvWorkFlow::Nodes
