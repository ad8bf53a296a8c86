// Runs a random workflow for real, from its file or from a saved state, and stops it exactly between two signals.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/platforms/RandomFlow.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {

inline constexpr std::size_t kNoStop = static_cast<std::size_t>(-1);

struct Performance {
  bool done = false;               // everything that had to succeed did
  std::vector<std::string> trace;  // what was delivered; reboot signals are left out
};

// Loads `start` (a flow or a state) into fresh objects, lets it run until it is idle, or stops it in the middle of
// delivery number `stop_after` (0: it is not started; without a host application it then stops between that signal and
// the next, with one it first delivers what was handed over), and saves the state in `end`.
Performance Perform(const RandomFlow& flow, Host host, const std::filesystem::path& start,
                    const std::filesystem::path& end, std::size_t stop_after = kNoStop);

}  // namespace orv_test
