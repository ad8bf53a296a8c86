#include <stdexcept>

#include "nodes/bridge/BridgeTransport.h"

namespace OrvWorkFlow::Nodes::Bridge {

std::unique_ptr<Transport> MakeMqtt(const TransportSettings& /*settings*/) {
  throw std::runtime_error("MQTT is not in the Windows build yet: the parameter Transport takes folder here");
}

}  // namespace OrvWorkFlow::Nodes::Bridge
