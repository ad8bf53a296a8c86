// Parts of what the page of a run gets.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/watch/ReportJson.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {

// The oldest first. `begin`: of the run.
Json DeliveriesAsJson(const std::vector<RunTally::Past>& deliveries, RunTally::Clock::time_point begin);
Json WaitingAsJson(const std::vector<RunTally::Waiting>& waiting);

// The entries below a path with their values, without those that HoldsSecret; not more than some hundreds.
Json ValuesBelow(IDictionary& dictionary, const std::string& path);

// An entry's value; of one that is hidden only its type.
Json ValueAsJson(IDictionary& dictionary, const std::string& path, bool is_hidden);

// By its name, below the node's: a password, a token, a key.
bool HoldsSecret(const std::string& path);

// Without line breaks; what is no UTF-8 is replaced.
std::string Written(const Json& json);

}  // namespace OrvWorkFlow::Program
