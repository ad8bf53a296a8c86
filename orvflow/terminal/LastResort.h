// What is said when the program cannot go on.
#pragma once

namespace OrvWorkFlow::Program {

// From now on a failure for lack of memory that nothing could catch ends the program as PrintOutOfMemory says, with
// the exit code of a failure.
void EndInOrderWithoutMemory();

// Says what failed and in which activity. Any thread.
void PrintFailure(const char* what);

}  // namespace OrvWorkFlow::Program
