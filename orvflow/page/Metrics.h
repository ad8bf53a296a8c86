// A run in the text format of Prometheus.
#pragma once

#include <string>

#include "orvflow/watch/RunReport.h"

namespace OrvWorkFlow::Program {

// `state`: see docs/monitor.md.
std::string MetricsText(const RunDetails& details, const std::string& workflow_name, const std::string& state);

}  // namespace OrvWorkFlow::Program
