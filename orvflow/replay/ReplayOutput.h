// What a replay has shown, as people and programs read it.
#pragma once

#include <string>

#include "orvflow/replay/Replay.h"

namespace OrvWorkFlow::Program {

// The delivery that differs, with both sides, then what was compared and what was not; lines of 80 columns for names of
// usual length.
std::string ReplayAsText(const ReplayResult& result, const ReplayPlan& plan);
// docs/replay.schema.json.
std::string ReplayAsJson(const ReplayResult& result, const ReplayPlan& plan);

}  // namespace OrvWorkFlow::Program
