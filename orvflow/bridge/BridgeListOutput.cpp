// The list of bridges for people and for programs.
#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/bridge/BridgeList.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kNumberColumns = 5;
const std::string kIndent(kNumberColumns + 2, ' ');

std::string Line(const std::string& text) { return text.empty() ? std::string() : kIndent + Visible(text) + "\n"; }

std::string SendingAsText(const SendingBridge& bridge) {
  const bool asks = bridge.type == "BridgeAsk";
  std::string text = bridge.type + " " + Visible(bridge.instance) + ": ";
  if (asks) text += Base::Counted(bridge.open, "request") + " open, ";
  text += (asks ? std::to_string(bridge.waiting) : Base::Counted(bridge.waiting, "signal")) + " to send, " +
          Base::Counted(bridge.waiting_bytes, "byte");
  if (bridge.oldest != 0) text += ", from number " + std::to_string(bridge.oldest);
  text += "\n" + kIndent + "acknowledged up to " + std::to_string(bridge.acknowledged) + ", epoch " +
          std::to_string(bridge.epoch) + "\n";
  for (const SharingReceiver& receiver : bridge.receivers) {
    text += Line(receiver.name + ": " + std::to_string(receiver.dealt) + " dealt, acknowledged up to " +
                 std::to_string(receiver.acknowledged) + ", epoch " + std::to_string(receiver.epoch));
  }
  text += Line(bridge.halted.empty() ? "" : "halted: " + bridge.halted) + Line(bridge.connection);
  for (const DeadLetter& letter : bridge.dead) {
    text += PaddedBefore(std::to_string(letter.number), kNumberColumns) + "  " +
            WayText(bridge.instance, letter.signal) + ", " + Base::Counted(letter.bytes, "byte") + "\n" +
            Line("refused: " + letter.reason);
  }
  return text;
}

std::string ReceivingAsText(const ReceivingBridge& bridge) {
  const bool serves = bridge.type == "BridgeServe";
  std::string text = bridge.type + " " + Visible(bridge.instance) + ": " +
                     Base::Counted(bridge.told, serves ? "request" : "signal") + " received from " +
                     Base::Counted(bridge.senders.size(), serves ? "asker" : "sender") + ", epoch " +
                     std::to_string(bridge.epoch) + "\n";
  if (serves) {
    text += Line(std::to_string(bridge.open.size()) + " open, " + Base::Counted(bridge.answers, "answer") + " to send");
    for (const std::string& request : bridge.open) text += Line("open: " + request);
  }
  text += Line(bridge.halted.empty() ? "" : "halted: " + bridge.halted) + Line(bridge.connection);
  for (const KnownSender& sender : bridge.senders) {
    text += Line(sender.id + ": up to " + std::to_string(sender.delivered) + ", epoch " + std::to_string(sender.epoch) +
                 (sender.refused == 0 ? "" : ", " + std::to_string(sender.refused) + " refused"));
  }
  return text;
}

Json TextOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json SendingAsJson(const SendingBridge& bridge) {
  Json json = {{"type", bridge.type},
               {"instance", bridge.instance},
               {"id", bridge.id},
               {"epoch", bridge.epoch},
               {"receiver", TextOrNull(bridge.receiver)},
               {"waiting", bridge.waiting},
               {"bytes", bridge.waiting_bytes},
               {"acknowledged", bridge.acknowledged},
               {"open", bridge.open},
               {"halted", TextOrNull(bridge.halted)}};
  json["oldest"] = bridge.oldest == 0 ? Json() : Json(bridge.oldest);
  json["connection"] = TextOrNull(bridge.connection);
  json["receivers"] = Json::array();
  for (const SharingReceiver& receiver : bridge.receivers) {
    json["receivers"].push_back({{"name", receiver.name},
                                 {"epoch", receiver.epoch},
                                 {"dealt", receiver.dealt},
                                 {"acknowledged", receiver.acknowledged}});
  }
  json["dead"] = Json::array();
  for (const DeadLetter& letter : bridge.dead) {
    json["dead"].push_back({{"number", letter.number},
                            {"signal", TextOrNull(letter.signal)},
                            {"bytes", letter.bytes},
                            {"reason", letter.reason}});
  }
  return json;
}

Json ReceivingAsJson(const ReceivingBridge& bridge) {
  Json json = {{"type", bridge.type},       {"instance", bridge.instance},
               {"id", bridge.id},           {"epoch", bridge.epoch},
               {"received", bridge.told},   {"open", bridge.open},
               {"answers", bridge.answers}, {"halted", TextOrNull(bridge.halted)}};
  json["connection"] = TextOrNull(bridge.connection);
  json["senders"] = Json::array();
  for (const KnownSender& sender : bridge.senders) {
    json["senders"].push_back(
        {{"id", sender.id}, {"epoch", sender.epoch}, {"delivered", sender.delivered}, {"refused", sender.refused}});
  }
  return json;
}

}  // namespace

std::string CountedBridges(const BridgeList& list) {
  const std::size_t count = list.sending.size() + list.receiving.size();
  if (count == 0) return "no bridge";
  const std::size_t dead = list.CountDead();
  return Base::Counted(count, "bridge") + ", " + (dead == 0 ? "no dead letter" : Base::Counted(dead, "dead letter"));
}

std::string BridgeListAsText(const BridgeList& list) {
  std::string text;
  for (const SendingBridge& bridge : list.sending) text += SendingAsText(bridge);
  for (const ReceivingBridge& bridge : list.receiving) text += ReceivingAsText(bridge);
  return text;
}

std::string BridgeListAsJson(const BridgeList& list, const std::string& flow, const std::string& file) {
  Json json = {
      {"version", 1}, {"flow", flow}, {"file", file}, {"sending", Json::array()}, {"receiving", Json::array()}};
  for (const SendingBridge& bridge : list.sending) json["sending"].push_back(SendingAsJson(bridge));
  for (const ReceivingBridge& bridge : list.receiving) json["receiving"].push_back(ReceivingAsJson(bridge));
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace OrvWorkFlow::Program
