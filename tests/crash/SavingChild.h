// A process that saves for ever, until it is killed.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace orv_test {

// How often a test can afford to start one and kill it.
extern const int kKills;

// Starts a process that saves, lets it live for that time, and kills it without any chance to clean up. False when it
// could not be started or had ended by itself.
bool SaveAndDie(const std::string& file, std::int32_t first, std::chrono::microseconds life);

}  // namespace orv_test
