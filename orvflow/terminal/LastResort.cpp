#include "orvflow/terminal/LastResort.h"

#include <cstdlib>
#include <exception>
#include <new>

#include "host/state/FileLock.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// What a save has left is removed by the next run.
[[noreturn]] void EndWithoutMemory() {
  try {
    if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    PrintOutOfMemory();
    Host::FileLock::RemoveFilesAtExit();
    std::_Exit(static_cast<int>(ExitCode::Failed));
  } catch (...) {
  }
  std::abort();
}

}  // namespace

void EndInOrderWithoutMemory() { std::set_terminate(&EndWithoutMemory); }

}  // namespace OrvWorkFlow::Program
