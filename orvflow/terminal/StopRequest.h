// Ctrl-C and the system's wish that the program end.
#pragma once

namespace OrvWorkFlow::Program {

enum class StopRequest { None, Interrupt, Terminate, HangUp, Page };

// From now on the first Ctrl-C, SIGTERM or SIGHUP (on Windows: Ctrl-C, Ctrl-Break, the closing of the console, logging
// off) is remembered in place of ending the program. What follows within a second counts as the same wish: `timeout`
// and a closing terminal send two. A later one ends the program at once. A hang-up that was ignored before, as `nohup`
// has it, stays so. A write to a closed pipe or beyond the limit of file sizes only fails.
void WatchForStopRequests();

// A wish of the program's own, on the same terms: only the first one counts. Any thread, after WatchForStopRequests.
void AskToStop(StopRequest request);

// What was asked for since then. Any thread.
StopRequest RequestedStop();

// What the user calls it on this system.
const char* NameOf(StopRequest request);

// Waits until a stop is asked for. False when EndStopWait came first. One thread at a time, after WatchForStopRequests.
bool WaitForStopRequest();
// Ends the wait that runs now or comes next. Any thread.
void EndStopWait();

}  // namespace OrvWorkFlow::Program
