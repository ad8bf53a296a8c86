// Moments as texts.
#pragma once

#include <chrono>
#include <string>

namespace OrvWorkFlow::Host {

// "2026-11-22T14:12:03Z"
std::string UtcText(std::chrono::system_clock::time_point time);

}  // namespace OrvWorkFlow::Host
