#include "orvflow/history/HistoryOutput.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/run/RunEnding.h"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Delivery;
using Journal::DeliveryHistory;
using Journal::Event;
using Journal::Kind;
using Journal::Route;
using Json = nlohmann::ordered_json;
using Outcome = IRunObserver::Outcome;

template <class... Values>
std::string Formatted(const char* format, Values... values) {
  std::array<char, 96> text;
  const int size = std::snprintf(text.data(), text.size(), format, values...);
  return std::string(text.data(), static_cast<std::size_t>(size));
}

// "12us", "1.2ms", "45s".
std::string DurationText(std::uint64_t nanoseconds) {
  const double seconds = static_cast<double>(nanoseconds) * 1e-9;
  if (seconds < 1e-3) return Formatted("%.0fus", seconds * 1e6);
  if (seconds < 1) return Formatted("%.1fms", seconds * 1e3);
  return seconds < 1000 ? Formatted("%.1fs", seconds) : Formatted("%.0fs", seconds);
}

// "2026-11-22T14:12:03.123Z"
std::string WallText(std::uint64_t nanoseconds) {
  const auto seconds = static_cast<std::time_t>(nanoseconds / 1'000'000'000);
  const std::tm* const time = std::gmtime(&seconds);
  if (time == nullptr) return "?";
  std::array<char, 40> text;
  const std::size_t size = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", time);
  return std::string(text.data(), size) + Formatted(".%03uZ", static_cast<unsigned>(nanoseconds / 1'000'000 % 1000));
}

std::string SenderText(const Delivery& delivery) {
  const Route& route = delivery.route;
  // What resumes a node's work comes past the queue.
  if (route.sender_instance.empty() && delivery.number >= IRunObserver::kPastQueue) return "resumed";
  const std::string from =
      route.sender_instance.empty() ? "the beginning" : WayText(route.sender_instance, route.sender_signal);
  if (delivery.is_restored) return from + " (saved)";
  return delivery.cause == 0 ? from : SignalNumberText(delivery.cause) + " " + from;
}

std::string CausedText(const std::vector<std::uint64_t>& caused) {
  std::string text;
  for (std::size_t i = 0; i < caused.size() && i < 3; ++i) text += (i == 0 ? "" : ",") + SignalNumberText(caused[i]);
  return caused.size() > 3 ? text + ",.. (" + std::to_string(caused.size()) + ")" : text;
}

std::string RunText(unsigned run) { return "run " + std::to_string(run) + ": "; }

const char* WordFor(IRunObserver::LossReason reason) {
  return reason == IRunObserver::LossReason::NoMemory ? "no memory" : "no dictionary";
}

std::string Written(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"; }

}  // namespace

std::string OutcomeText(const Delivery& delivery) {
  std::string text = delivery.outcome == Outcome::Threw ? "failed" : OutcomeWord(delivery.outcome);
  if (!delivery.text.empty()) text += ": " + Visible(delivery.text);
  return text;
}

std::string DeliveryAsText(const Delivery& delivery) {
  const Route& route = delivery.route;
  std::string line = PaddedBefore(SignalNumberText(delivery.number), 7) + PaddedBefore(MomentText(delivery.begun), 12) +
                     PaddedBefore(DurationText(delivery.ended - delivery.begun), 8) + "  " +
                     Padded(WayText(route.receiver_instance, route.receiver_signal), kWayColumns) + " <- " +
                     SenderText(delivery);
  if (!delivery.caused.empty()) line += " -> " + CausedText(delivery.caused);
  line += "\n";
  for (const std::string& signal : delivery.untaken)
    line += std::string(kDetailColumns, ' ') + "untaken: " + Visible(signal) + "\n";
  if (delivery.outcome != Outcome::Accepted) line += std::string(kDetailColumns, ' ') + OutcomeText(delivery) + "\n";
  return line;
}

std::string EventAsText(const Event& event, const DeliveryHistory& history) {
  const std::string indent(kDetailColumns, ' ');
  switch (event.kind) {
    case Kind::RunBegun:
      return RunText(history.run()) + (event.is_marked ? "continued " : "begun ") + WallText(event.time) + ", " +
             Visible(event.path) + ", orvflow " + Visible(event.program) + ", " + Visible(event.platform) + "\n";
    case Kind::SignalLost:
      return indent + "lost (" + WordFor(event.loss) +
             "): " + WayText(event.route->sender_instance, event.route->sender_signal) + "\n";
    case Kind::MappingNotRead:
      return indent + "not sent: " + Visible(event.path) + " is no mapping\n";
    case Kind::RunEnded:
      return RunText(history.run()) + "ended after " + DurationText(event.time) + ", exit code " +
             std::to_string(event.exit_code) + "\n";
    default:
      return "";
  }
}

std::string KilledRunAsText(const DeliveryHistory& history) {
  std::string text =
      RunText(history.run()) + "killed, with " + Base::Counted(history.CountWaiting(), "signal") + " waiting";
  for (const auto& [number, delivery] : history.at_work()) {
    text += ", at work: " + SignalNumberText(number) + " " +
            WayText(delivery.route.receiver_instance, delivery.route.receiver_signal);
  }
  return text + "\n";
}

std::string DeliveryAsJson(const Delivery& delivery, const Json& ways) {
  Json caused = Json::array();
  for (const std::uint64_t number : delivery.caused) caused.push_back(NumberAsJson(number));
  Json json = {{"event", "delivery"},
               {"run", delivery.run},
               {"number", NumberAsJson(delivery.number)},
               {"begun", delivery.begun},
               {"took", delivery.ended - delivery.begun},
               {"sender", SenderAsJson(delivery.route)},
               {"receiver", ReceiverAsJson(delivery.route)},
               {"cause", NumberAsJson(delivery.cause)},
               {"restored", delivery.is_restored},
               {"caused", caused},
               {"untaken", delivery.untaken},
               {"answer", OutcomeWord(delivery.outcome)}};
  if (!delivery.text.empty()) json["text"] = delivery.text;
  json.update(ways);
  return Written(json);
}

std::string EventAsJson(const Event& event, const DeliveryHistory& history) {
  const unsigned run = history.run();
  switch (event.kind) {
    case Kind::RunBegun:
      return Written({{"event", "run"},
                      {"run", run},
                      {"time", WallText(event.time)},
                      {"flow", event.path},
                      {"continued", event.is_marked},
                      {"program", event.program},
                      {"platform", event.platform}});
    case Kind::SignalIgnored:
      return Written({{"event", "ignored"},
                      {"run", run},
                      {"time", event.time},
                      {"sender", SenderAsJson(*event.route)},
                      {"cause", NumberAsJson(event.cause)}});
    case Kind::MappingNotRead:
      return Written({{"event", "unread"},
                      {"run", run},
                      {"time", event.time},
                      {"sender", SenderAsJson(*event.route)},
                      {"cause", NumberAsJson(event.cause)},
                      {"path", event.path},
                      {"text", event.is_marked ? Json(event.text) : Json(nullptr)}});
    case Kind::SignalLost:
      return Written({{"event", "lost"},
                      {"run", run},
                      {"time", event.time},
                      {"sender", SenderAsJson(*event.route)},
                      {"receiver", ReceiverAsJson(*event.route)},
                      {"cause", NumberAsJson(event.cause)},
                      {"reason", WordFor(event.loss)}});
    case Kind::NodeMade:
      return Written(
          {{"event", "made"}, {"run", run}, {"time", event.time}, {"type", event.type}, {"instance", event.instance}});
    case Kind::StateSaved:
      return Written({{"event", "saved"}, {"run", run}, {"time", event.time}});
    case Kind::RunEnded:
      return Written({{"event", "ended"}, {"run", run}, {"time", event.time}, {"exit_code", event.exit_code}});
    default:
      return "";
  }
}

std::string KilledRunAsJson(const DeliveryHistory& history) {
  Json at_work = Json::array();
  for (const auto& [number, delivery] : history.at_work()) {
    at_work.push_back({{"number", NumberAsJson(number)}, {"receiver", ReceiverAsJson(delivery.route)}});
  }
  return Written(
      {{"event", "killed"}, {"run", history.run()}, {"waiting", history.CountWaiting()}, {"at_work", at_work}});
}

}  // namespace OrvWorkFlow::Program
