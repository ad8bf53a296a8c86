// The system's signal that asks a run for its report.
#pragma once

namespace OrvWorkFlow::Program {

// From now on SIGUSR1 asks for a report in place of ending the program. On Windows there is no such signal.
void WatchForReportRequests();

// True once after each signal. Any thread.
bool TakeReportRequest();

}  // namespace OrvWorkFlow::Program
