// The parameters that all nodes of a bridge have.
#pragma once

#include "OrvWorkFlow/INodeParameterRules.h"

namespace OrvWorkFlow::Nodes::Bridge {

inline constexpr NodeParameter kBridgeRow =
    TextParameterRow("Bridge", "", "the name that both ends give the bridge; it may not be empty");
inline constexpr NodeParameter kTransportRow =
    TextParameterRow("Transport", "mqtt", "what carries the signals: a broker for MQTT, or a folder");
inline constexpr NodeParameter kHostRow = TextParameterRow("Host", "127.0.0.1", "the machine of the broker");
inline constexpr NodeParameter kPortRow = NumberParameterRow("Port", "1883", 1, "the port of the broker", 65535);
inline constexpr NodeParameter kSecretsRow = TextListParameterRow(
    "Secrets", "a file with lines such as user = me: user, password, tls, ca, certificate and key");
inline constexpr NodeParameter kFolderRow =
    TextListParameterRow("Folder", "of the transport folder: where both ends put what they send");
inline constexpr NodeParameter kFaultsRow =
    TextListParameterRow("Faults", "for tests, of the transport folder: seed=1 lose=100 double=100 delay=100 forget=5");

inline constexpr const char* kTransportWords[] = {"mqtt", "folder"};
inline constexpr ParameterRule kTransportRule = {.name = "Transport", .words = kTransportWords};
inline constexpr ParameterRule kSecretsRule = {.name = "Secrets", .between = " "};
inline constexpr ParameterRule kFolderRule = {.name = "Folder", .between = " "};
inline constexpr ParameterRule kFaultsRule = {.name = "Faults", .between = " "};
// Of a node whose other parameters have none.
inline constexpr ParameterRule kConnectionRules[] = {kTransportRule, kSecretsRule, kFolderRule, kFaultsRule};

}  // namespace OrvWorkFlow::Nodes::Bridge
