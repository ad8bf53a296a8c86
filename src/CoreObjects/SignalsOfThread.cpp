#include "CoreObjects/SignalsOfThread.h"

namespace OrvWorkFlow::Core {

SignalsOfThread& ThisThreadsSignals() noexcept {
  static constinit thread_local SignalsOfThread signals;
  return signals;
}

}  // namespace OrvWorkFlow::Core
