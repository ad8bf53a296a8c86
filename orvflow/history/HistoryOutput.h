// What happened in runs, as people and programs read it: a line each.
#pragma once

#include <string>

#include "journal/DeliveryHistory.h"
#include "nlohmann/json_fwd.hpp"

namespace OrvWorkFlow::Program {

// Of a delivery that was not taken: "refused", "failed: no room".
std::string OutcomeText(const Journal::Delivery& delivery);

// Lines of 80 columns for names of usual length.
std::string DeliveryAsText(const Journal::Delivery& delivery);
// Of what is told besides deliveries; "" for what is not.
std::string EventAsText(const Journal::Event& event, const Journal::DeliveryHistory& history);
// Where a record ends and its run does not: the process was killed.
std::string KilledRunAsText(const Journal::DeliveryHistory& history);

// docs/history.schema.json, an object in a line. `ways` are members for it, of bridges.
std::string DeliveryAsJson(const Journal::Delivery& delivery, const nlohmann::ordered_json& ways);
std::string EventAsJson(const Journal::Event& event, const Journal::DeliveryHistory& history);
std::string KilledRunAsJson(const Journal::DeliveryHistory& history);

}  // namespace OrvWorkFlow::Program
