#include "orvflow/terminal/LastResort.h"

#include <cstdlib>
#include <exception>
#include <new>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// The system removes nothing of a process that ends so, but a lock that is left locks nothing, and the next run removes
// what a save has left.
[[noreturn]] void EndWithoutMemory() {
  try {
    if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    PrintOutOfMemory();
    std::_Exit(static_cast<int>(ExitCode::Failed));
  } catch (...) {
  }
  std::abort();
}

}  // namespace

void EndInOrderWithoutMemory() { std::set_terminate(&EndWithoutMemory); }

}  // namespace OrvWorkFlow::Program
