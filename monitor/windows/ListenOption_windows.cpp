#include <winsock2.h>

#include "monitor/ListenOption.h"

namespace OrvWorkFlow::Monitor {

// Nobody else takes the port meanwhile.
void TakePortAlone(std::intptr_t socket) {
  const BOOL yes = TRUE;
  ::setsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&yes),
               sizeof yes);
}

}  // namespace OrvWorkFlow::Monitor
