#include "orvflow/history/BridgeOutput.h"

#include <optional>
#include <vector>

#include "nlohmann/json.hpp"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kIdColumns = 8;
constexpr std::size_t kMostArrivals = 3;

std::string Line(const std::string& text) { return std::string(kDetailColumns, ' ') + text + "\n"; }

// As much of an id as tells it from others.
std::string ShortId(const std::string& id) { return Visible(id.substr(0, kIdColumns)); }

std::string KeyText(const LetterKey& key) {
  return "number " + std::to_string(key.number) + " of sender " + ShortId(key.sender);
}

std::string SentAsText(const SentLetter& sent, const RecordSet* records) {
  std::string text = "sent: number " + std::to_string(sent.number) + " of " + Visible(sent.instance);
  if (!sent.key.sender.empty()) text = "sent: " + KeyText(sent.key);
  std::vector<RecordSet::Where> arrivals;
  if (records != nullptr) arrivals = records->FindArrivals(sent.key);
  if (!sent.share.empty()) text += ", to " + Visible(sent.share);
  if (sent.share.empty() && arrivals.empty() && !sent.receiver.empty()) text += ", to " + ShortId(sent.receiver);
  for (std::size_t i = 0; i < arrivals.size() && i < kMostArrivals; ++i) {
    text += (i == 0 ? ", came as " : ", ") + records->NameOf(arrivals[i]);
  }
  if (arrivals.size() > kMostArrivals) text += ", .. (" + std::to_string(arrivals.size()) + ")";
  return Line(text) + (sent.refused.empty() ? "" : Line("refused: " + Visible(sent.refused)));
}

std::string CameAsText(const CameLetter& came, const RecordSet* records) {
  if (came.key.number == 0) return Line("came to " + Visible(came.instance) + "; which one, this record lacks");
  const std::string text = "came: " + KeyText(came.key);
  const auto sent = records == nullptr ? std::nullopt : records->FindSend(came.key);
  return Line(sent ? text + ", sent by " + records->NameOf(*sent) : text);
}

std::string ReturnedAsText(const ReturnedLetter& returned) {
  std::string text = "came back: number " + std::to_string(returned.number) + " of " + Visible(returned.instance);
  if (returned.sent) text += ", sent by " + SignalNumberText(returned.sent->number);
  return Line(text) + (returned.reason.empty() ? "" : Line("refused: " + Visible(returned.reason)));
}

Json TextOrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json WhereAsJson(const RecordSet::Where& where, const RecordSet& records) {
  return {
      {"record", records.name(where.record)}, {"run", where.place.run}, {"number", NumberAsJson(where.place.number)}};
}

Json SentAsJson(const SentLetter& sent, const RecordSet* records) {
  const bool is_known = !sent.key.sender.empty();
  Json json = {{"instance", sent.instance},
               {"in_outbox", sent.number},
               {"sender", TextOrNull(sent.key.sender)},
               {"number", is_known ? Json(sent.key.number) : Json()},
               {"share", TextOrNull(sent.share)},
               {"receiver", TextOrNull(sent.receiver)},
               {"refused", TextOrNull(sent.refused)}};
  if (records == nullptr) return json;
  Json& arrived = json["came_as"] = Json::array();
  for (const RecordSet::Where& where : records->FindArrivals(sent.key)) arrived.push_back(WhereAsJson(where, *records));
  return json;
}

Json CameAsJson(const CameLetter& came, const RecordSet* records) {
  const bool is_known = came.key.number != 0;
  Json json = {{"instance", came.instance},
               {"sender", TextOrNull(came.key.sender)},
               {"number", is_known ? Json(came.key.number) : Json()}};
  if (records == nullptr) return json;
  const auto sent = records->FindSend(came.key);
  json["sent_by"] = sent ? WhereAsJson(*sent, *records) : Json();
  return json;
}

Json ReturnedAsJson(const ReturnedLetter& returned) {
  Json json = {{"instance", returned.instance},
               {"in_outbox", returned.number},
               {"refused", TextOrNull(returned.reason)},
               {"sent_by", nullptr}};
  if (returned.sent) json["sent_by"] = {{"run", returned.sent->run}, {"number", NumberAsJson(returned.sent->number)}};
  return json;
}

}  // namespace

std::string WaysAsText(const Journal::Delivery& delivery, const BridgeWays& ways, const RecordSet* records) {
  const DeliveryPlace place{delivery.run, delivery.number};
  std::string text;
  if (const CameLetter* const came = ways.CameWith(place)) text += CameAsText(*came, records);
  if (const auto returned = ways.ReturnedWith(place)) text += ReturnedAsText(*returned);
  if (const auto sent = ways.SentBy(place)) text += SentAsText(*sent, records);
  return text;
}

Json WaysAsJson(const Journal::Delivery& delivery, const BridgeWays& ways, const RecordSet* records) {
  const DeliveryPlace place{delivery.run, delivery.number};
  Json json = Json::object();
  if (const CameLetter* const came = ways.CameWith(place)) json["came"] = CameAsJson(*came, records);
  if (const auto returned = ways.ReturnedWith(place)) json["returned"] = ReturnedAsJson(*returned);
  if (const auto sent = ways.SentBy(place)) json["sent"] = SentAsJson(*sent, records);
  return json;
}

}  // namespace OrvWorkFlow::Program
