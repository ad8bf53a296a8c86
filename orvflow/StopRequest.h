// Ctrl-C and the system's wish that the program end.
#pragma once

namespace OrvWorkFlow::Program {

enum class StopRequest { None, Interrupt, Terminate };

// From now on the first Ctrl-C, SIGTERM or closing of the console is remembered in place of ending the program. A
// second one ends it at once.
void WatchForStopRequests();

// What was asked for since then. Any thread.
StopRequest RequestedStop();

// What the user calls it on this system.
const char* NameOf(StopRequest request);

}  // namespace OrvWorkFlow::Program
