#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <chrono>
#include <cstdlib>

#include "journal/BootName.h"

namespace OrvWorkFlow::Journal {

namespace {

// The clock is set now and then, by a little.
constexpr long long kSameWithin = 120;  // seconds

}  // namespace

// The second at which the machine was started, since 1970.
std::string NameOfBoot() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto up = std::chrono::milliseconds(GetTickCount64());
  return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(now - up).count());
}

bool AreOtherBoots(const std::string& one, const std::string& other) {
  if (one.empty() || other.empty() || one == other) return false;
  char* end = nullptr;
  const long long first = std::strtoll(one.c_str(), &end, 10);
  if (*end != '\0') return true;  // A record of another platform.
  const long long second = std::strtoll(other.c_str(), &end, 10);
  return *end != '\0' || std::llabs(first - second) > kSameWithin;
}

}  // namespace OrvWorkFlow::Journal
