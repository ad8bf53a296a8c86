// What is said when a run has ended, and what becomes of its state.
#pragma once

#include <cstdint>
#include <string>

#include "OrvWorkFlow/host/StateFile.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

struct RunEnding {
  const Host::RunResult& result;
  const Host::WorkflowHost& host;
  const Host::StateFile& state;
  unsigned failures;              // that were counted in the run
  const std::string& shown_name;  // of the flow
  const std::string& time_limit;  // in seconds, as the user gave it
  bool has_record = false;        // from which the next run can go on
  bool lost_durability = false;   // the disk failed under --durable power, which was said
};

// Says how the run ended where that was not simply its end. The state of a run that has nothing left to do is removed:
// then the next one begins anew.
ExitCode ReportEnding(const RunEnding& ending);

// "1 signal", "2 signals".

}  // namespace OrvWorkFlow::Program
