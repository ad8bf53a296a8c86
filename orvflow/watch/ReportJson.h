// How a run stands, as JSON: docs/status.schema.json.
#pragma once

#include "nlohmann/json.hpp"
#include "orvflow/watch/RunReport.h"

namespace OrvWorkFlow::Program {

using Json = nlohmann::ordered_json;

Json MakeReportJson(const RunDetails& details);

}  // namespace OrvWorkFlow::Program
