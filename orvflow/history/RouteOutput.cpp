#include "orvflow/history/RouteOutput.h"

#include <array>
#include <charconv>
#include <cstdio>

#include "nlohmann/json.hpp"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

using Journal::Route;
using Json = nlohmann::ordered_json;

std::string SignalNumberText(std::uint64_t number) {
  if (number == 0) return "";
  return number < IRunObserver::kPastQueue ? std::to_string(number)
                                           : "+" + std::to_string(number - IRunObserver::kPastQueue);
}

std::optional<std::uint64_t> ParseSignalNumber(const std::string& text) {
  std::uint64_t number = 0;
  const bool is_past_queue = text.starts_with('+');
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data() + (is_past_queue ? 1 : 0), end, number);
  if (result.ec != std::errc() || result.ptr != end || number >= IRunObserver::kPastQueue) return std::nullopt;
  return is_past_queue ? IRunObserver::kPastQueue + number : number;
}

const char* OutcomeWord(IRunObserver::Outcome outcome) {
  switch (outcome) {
    case IRunObserver::Outcome::Accepted:
      return "accepted";
    case IRunObserver::Outcome::Refused:
      return "refused";
    case IRunObserver::Outcome::Threw:
      return "threw";
    case IRunObserver::Outcome::NoNode:
      return "no node";
    case IRunObserver::Outcome::TypeNotLoaded:
      return "type not loaded";
    case IRunObserver::Outcome::HostRefused:
      return "host refused";
    case IRunObserver::Outcome::NoMemory:
      return "no memory";
  }
  return "unknown";
}

std::string MomentText(std::uint64_t nanoseconds) {
  std::array<char, 40> text;
  const int size = std::snprintf(text.data(), text.size(), "%.6f", static_cast<double>(nanoseconds) * 1e-9);
  return std::string(text.data(), static_cast<std::size_t>(size));
}

std::string Padded(std::string text, std::size_t columns) {
  const std::size_t taken = ColumnsOf(text);
  return taken < columns ? text + std::string(columns - taken, ' ') : text;
}

std::string PaddedBefore(const std::string& text, std::size_t columns) {
  return text.size() < columns ? std::string(columns - text.size(), ' ') + text : text;
}

std::string WayText(const std::string& instance, const std::string& signal) {
  return ShortenedTo(kWayColumns, Visible(instance + "." + signal));
}

Json NumberAsJson(std::uint64_t number) {
  if (number == 0) return nullptr;
  if (number < IRunObserver::kPastQueue) return number;
  return SignalNumberText(number);
}

Json SenderAsJson(const Route& route) {
  if (route.sender_type.empty() && route.sender_instance.empty()) return nullptr;
  return {{"type", route.sender_type}, {"instance", route.sender_instance}, {"signal", route.sender_signal}};
}

Json ReceiverAsJson(const Route& route) {
  return {{"type", route.receiver_type}, {"instance", route.receiver_instance}, {"signal", route.receiver_signal}};
}

}  // namespace OrvWorkFlow::Program
