// The parameters that both nodes of a bridge have.
#pragma once

#include "OrvWorkFlow/INodeDescription.h"

namespace OrvWorkFlow::Nodes::Bridge {

inline constexpr NodeParameter kBridgeRow =
    TextParameterRow("Bridge", "", "the name that both ends give the bridge; it may not be empty");
inline constexpr NodeParameter kTransportRow = TextParameterRow("Transport", "mqtt", "mqtt, or folder");
inline constexpr NodeParameter kHostRow = TextParameterRow("Host", "127.0.0.1", "the machine of the broker");
inline constexpr NodeParameter kPortRow = NumberParameterRow("Port", "1883", 1, "the port of the broker", 65535);
// Texts that need not be set are lists.
inline constexpr NodeParameter kSecretsRow = TextListParameterRow(
    "Secrets", "a file with lines such as user = me: user, password, tls, ca, certificate and key");
inline constexpr NodeParameter kFolderRow =
    TextListParameterRow("Folder", "of the transport folder: where both ends put what they send");
inline constexpr NodeParameter kFaultsRow =
    TextListParameterRow("Faults", "for tests, of the transport folder: seed=1 lose=100 double=100 delay=100 forget=5");

}  // namespace OrvWorkFlow::Nodes::Bridge
