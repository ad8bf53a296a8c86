// What a delivery has to do with a bridge, for people and for programs.
#pragma once

#include <string>

#include "journal/DeliveryHistory.h"
#include "nlohmann/json_fwd.hpp"
#include "orvflow/history/BridgeWays.h"
#include "orvflow/history/RecordSet.h"

namespace OrvWorkFlow::Program {

// Lines below that of the delivery, indented as those; "" where it has nothing to do with a bridge. With `records` they
// name the other end's deliveries.
std::string WaysAsText(const Journal::Delivery& delivery, const BridgeWays& ways, const RecordSet* records);
// The members "sent", "came" and "returned" of docs/history.schema.json, those that there are.
nlohmann::ordered_json WaysAsJson(const Journal::Delivery& delivery, const BridgeWays& ways, const RecordSet* records);

}  // namespace OrvWorkFlow::Program
