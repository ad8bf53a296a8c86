// The one thing about a listening socket that each platform calls by another name.
#pragma once

#include <cstdint>

namespace OrvWorkFlow::Monitor {

// Before the socket is bound: the port can be had again as soon as its last server is gone, and never while it is
// there.
void TakePortAlone(std::intptr_t socket);

}  // namespace OrvWorkFlow::Monitor
