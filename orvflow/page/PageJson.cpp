#include "orvflow/page/PageJson.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/ValueTags.h"
#include "orvflow/history/RouteOutput.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kMostValues = 500;
constexpr std::size_t kMostTexts = 50;    // of a list
constexpr std::size_t kMostBytes = 2000;  // of a text

double Seconds(std::chrono::nanoseconds time) { return std::chrono::duration<double>(time).count(); }

// The texts of one value, as far as they are shown; says whether that is less than all.
bool TakeTexts(std::vector<std::string> all, Json* texts) {
  bool is_cut = all.size() > kMostTexts;
  if (is_cut) all.resize(kMostTexts);
  for (std::string& text : all) {
    if (text.size() > kMostBytes) {
      text.resize(kMostBytes);
      is_cut = true;
    }
    texts->push_back(std::move(text));
  }
  return is_cut;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

}  // namespace

Json DeliveriesAsJson(const std::vector<RunTally::Past>& deliveries, RunTally::Clock::time_point begin) {
  Json all = Json::array();
  for (const RunTally::Past& each : deliveries) {
    all.push_back({{"place", each.place},
                   {"number", NumberAsJson(each.number)},
                   {"begin", Seconds(each.begin - begin)},
                   {"seconds", Seconds(each.time)},
                   {"sender", each.sender},
                   {"receiver", each.receiver},
                   {"answer", OutcomeWord(each.outcome)},
                   {"text", each.text}});
  }
  return all;
}

Json WaitingAsJson(const std::vector<RunTally::Waiting>& waiting) {
  Json all = Json::array();
  for (const RunTally::Waiting& each : waiting) {
    all.push_back({{"number", each.number},
                   {"sender", each.sender.empty() ? Json(nullptr) : Json(each.sender)},
                   {"receiver", each.receiver}});
  }
  return all;
}

Json ValueAsJson(IDictionary& dictionary, const std::string& path, bool is_hidden) {
  const ValueType type = dictionary.GetValueType(path.c_str());
  Json value = {{"path", path}, {"type", Base::TagOf(type)}, {"hidden", is_hidden}, {"cut", false}};
  Json texts = Json::array();
  if (!is_hidden) {
    const Sdk::TextListHolder all;
    if (dictionary.GetValueTexts(path.c_str(), all.get())) value["cut"] = TakeTexts(all.Texts(), &texts);
  }
  value["texts"] = std::move(texts);
  return value;
}

Json ValuesBelow(IDictionary& dictionary, const std::string& path) {
  Json values = Json::array();
  const Sdk::TextListHolder paths;
  if (!dictionary.EnumeratePaths(path.c_str(), paths.get())) return values;
  for (const std::string& each : paths.Texts()) {
    if (values.size() == kMostValues) break;
    if (dictionary.GetValueType(each.c_str()) == ValueType::Nil) continue;
    values.push_back(ValueAsJson(dictionary, each, HoldsSecret(each.substr(std::min(path.size(), each.size())))));
  }
  return values;
}

bool HoldsSecret(const std::string& path) {
  constexpr std::array<std::string_view, 8> kWords = {"password", "passwd",     "passphrase", "login",
                                                      "secret",   "credential", "token",      "key"};
  std::string lower = path;
  std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](std::string_view word) { return lower.find(word) != std::string::npos; });
}

std::string Written(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace OrvWorkFlow::Program
