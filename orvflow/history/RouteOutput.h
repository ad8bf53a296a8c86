// Signals and their ways in what is shown of a record, for people and for programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "OrvWorkFlow/IRunObserver.h"
#include "journal/RecordReader.h"
#include "nlohmann/json_fwd.hpp"

namespace OrvWorkFlow::Program {

inline constexpr std::size_t kWayColumns = 20;
// What is said of a delivery below its line begins here.
inline constexpr std::size_t kDetailColumns = 29;

// "17"; "+3" for the third signal past the queue; "" for none.
std::string SignalNumberText(std::uint64_t number);
// The reverse.
std::optional<std::uint64_t> ParseSignalNumber(const std::string& text);
// "0.000103", in seconds of the run.
std::string MomentText(std::uint64_t nanoseconds);
// "Instance.signal", no wider than kWayColumns.
std::string WayText(const std::string& instance, const std::string& signal);
// Blanks make it as wide as that.
std::string Padded(std::string text, std::size_t columns);
std::string PaddedBefore(const std::string& text, std::size_t columns);

// "accepted", "refused": for programs, and for people where nothing better is known.
const char* OutcomeWord(IRunObserver::Outcome outcome);

// null for none.
nlohmann::ordered_json NumberAsJson(std::uint64_t number);
nlohmann::ordered_json SenderAsJson(const Journal::Route& route);
nlohmann::ordered_json ReceiverAsJson(const Journal::Route& route);

}  // namespace OrvWorkFlow::Program
