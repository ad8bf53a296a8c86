#include <time.h>

#include "nodes/flow/CronTimes.h"

namespace OrvWorkFlow::Nodes {

ClockTime Clock::Local(std::int64_t moment) {
  const __time64_t seconds = moment;
  struct tm parts = {};
  if (_localtime64_s(&parts, &seconds) != 0) return Utc(moment);
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

std::int64_t Clock::FromLocal(const ClockTime& time) {
  struct tm parts = {};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  parts.tm_isdst = -1;
  return _mktime64(&parts);
}

}  // namespace OrvWorkFlow::Nodes
