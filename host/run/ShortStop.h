// A stop pauses until what was handed over is being delivered, and a while longer. Where nothing was there is nothing
// to pause for.
#pragma once

#include "OrvWorkFlow/ISignalMediator.h"

namespace OrvWorkFlow::Host {

// As long as it lives, pauses of the library on this thread end as soon as no signal is being delivered. One at a
// time in the process.
class ShortStop {
 public:
  explicit ShortStop(ISignalMediator& mediator);
  ShortStop(const ShortStop&) = delete;
  ShortStop& operator=(const ShortStop&) = delete;
  ~ShortStop();
};

}  // namespace OrvWorkFlow::Host
