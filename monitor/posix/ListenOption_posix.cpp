#include <sys/socket.h>

#include "monitor/ListenOption.h"

namespace OrvWorkFlow::Monitor {

// Connections of an earlier server, which linger, do not keep the port.
void TakePortAlone(std::intptr_t socket) {
  const int yes = 1;
  ::setsockopt(static_cast<int>(socket), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace OrvWorkFlow::Monitor
