#include "orvflow/replay/ReplayOutput.h"

#include <algorithm>

#include "base/dictionary/ValueTags.h"
#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/replay/DeedText.h"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;
using Journal::Event;
using Journal::Kind;

constexpr std::size_t kColumns = 80;

struct ReasonWords {
  const char* word;  // for programs
  const char* text;
};

ReasonWords WordsOf(Untried why) {
  switch (why) {
    case Untried::ActsOutside:
      return {"acts_outside", "their nodes act outside; see --act"};
    case Untried::SaysNothing:
      return {"says_nothing", "their nodes do not say whether they act outside; see --act"};
    case Untried::OwnThread:
      return {"own_thread", "their nodes work on threads of their own"};
    case Untried::StateUnknown:
      return {"state_unknown", "the own state of their nodes is not recorded"};
    case Untried::Overlapped:
      return {"overlapped", "others were delivered meanwhile"};
    case Untried::ChangedByOthers:
      return {"changed_by_others", "not compared, others changed the dictionary meanwhile"};
    case Untried::NotDelivered:
      return {"not_delivered", "they did not get to their nodes, or memory ran out"};
    case Untried::NotEnded:
      return {"not_ended", "the record ends before their end"};
    case Untried::ChangesMissing:
      break;
  }
  return {"changes_missing", "the record lacks changes of the dictionary"};
}

// "  3: why (Type, Type)", in as many lines as the types need.
std::string LeftAsText(Untried why, const ReplayResult::Untaken& untaken) {
  std::string text = "  " + std::to_string(untaken.deliveries) + ": " + WordsOf(why).text;
  std::size_t columns = ColumnsOf(text);
  const char* lead = " (";
  std::size_t left = untaken.types.size();
  for (const std::string& type : untaken.types) {
    const std::string word = Visible(type) + (--left == 0 ? ")" : ",");
    const bool is_on_next = columns + ColumnsOf(lead + word) > kColumns;
    if (is_on_next) {
      text += "\n   ";
      columns = 3;
    }
    text += lead + word;
    columns += ColumnsOf(lead + word);
    lead = " ";
  }
  return text + "\n";
}

std::string DifferenceAsText(const ReplayResult::Difference& difference, unsigned run) {
  const Journal::Route& route = difference.route;
  std::string text =
      "run " + std::to_string(run) + ": delivery " + SignalNumberText(difference.number) + " differs from the record\n";
  text += "  " +
          ShortenedTo(kColumns - 2, Visible(route.receiver_type + " " + route.receiver_instance) + ", with \"" +
                                        Visible(route.receiver_signal) + "\", " + MomentText(difference.time) +
                                        " s after the run began") +
          "\n";
  const Deeds& then = difference.recorded;
  const Deeds& now = difference.replayed;
  text += SectionText("answered", {AnswerText(then)}, {AnswerText(now)});
  text += SectionText("fired", FiringTexts(then), FiringTexts(now));
  text += SectionText("wrote", ChangeTexts(then, now), ChangeTexts(now, then));
  return text + "- as recorded, + as it is now\n";
}

Json FiringAsJson(const Firing& fired) {
  const bool is_mapped = fired.kind == Kind::SignalQueued || fired.kind == Kind::SignalLost;
  const char* const fate = fired.kind == Kind::SignalQueued     ? "queued"
                           : fired.kind == Kind::SignalIgnored  ? "ignored"
                           : fired.kind == Kind::MappingNotRead ? "mapping not read"
                                                                : "lost";
  return {{"signal", fired.route.sender_signal},
          {"fate", fate},
          {"receiver", is_mapped ? ReceiverAsJson(fired.route) : Json(nullptr)},
          {"mapping", fired.path.empty() ? Json(nullptr) : Json(fired.path)}};
}

Json ChangeAsJson(const Event& change) {
  return {{"operation", OperationWord(change.operation)},
          {"path", change.path},
          {"other", change.other},
          {"type", change.operation == DictionaryChange::Operation::SetValue
                       ? Json(std::string(Base::TagOf(change.value_type)))
                       : Json(nullptr)},
          {"texts", change.texts}};
}

Json DeedsAsJson(const Deeds& deeds) {
  Json fired = Json::array();
  for (const Firing& one : deeds.fired) fired.push_back(FiringAsJson(one));
  Json wrote = Json::array();
  for (const Event& one : deeds.changes) wrote.push_back(ChangeAsJson(one));
  return {{"answer", OutcomeWord(deeds.outcome)},
          {"text", deeds.text},
          {"fired", std::move(fired)},
          {"wrote", std::move(wrote)}};
}

Json DifferenceAsJson(const ReplayResult::Difference& difference) {
  Json differs = Json::array();
  if (!AreSameAnswers(difference.recorded, difference.replayed)) differs.push_back("answer");
  if (!AreSameFirings(difference.recorded, difference.replayed)) differs.push_back("fired");
  if (!AreSameChanges(difference.recorded, difference.replayed)) differs.push_back("wrote");
  return {{"delivery", NumberAsJson(difference.number)},
          {"time", difference.time},
          {"sender", SenderAsJson(difference.route)},
          {"receiver", ReceiverAsJson(difference.route)},
          {"differs", std::move(differs)},
          {"recorded", DeedsAsJson(difference.recorded)},
          {"replayed", DeedsAsJson(difference.replayed)}};
}

}  // namespace

std::string ReplayAsText(const ReplayResult& result, const ReplayPlan& plan) {
  std::string text;
  if (result.difference) text = DifferenceAsText(*result.difference, plan.run());
  const std::size_t same = result.replayed - (result.difference ? 1 : 0);
  const std::string count = std::to_string(same) + (same == 1 ? " delivery" : " deliveries");
  text += "run " + std::to_string(plan.run()) + ": " + count + " replayed as recorded";
  std::size_t left = 0;
  for (const auto& [why, untaken] : result.untried) left += untaken.deliveries;
  text += left == 0 ? "\n" : ", " + std::to_string(left) + " taken from the record:\n";
  for (const auto& [why, untaken] : result.untried) {
    text += LeftAsText(why, untaken);
  }
  return text;
}

std::string ReplayAsJson(const ReplayResult& result, const ReplayPlan& plan) {
  Json untried = Json::array();
  for (const auto& [why, untaken] : result.untried) {
    untried.push_back({{"reason", WordsOf(why).word}, {"deliveries", untaken.deliveries}, {"types", untaken.types}});
  }
  const Json json = {{"version", 1},
                     {"run", plan.run()},
                     {"flow", plan.flow()},
                     {"replayed", result.replayed},
                     {"from_record", std::move(untried)},
                     {"difference", result.difference ? DifferenceAsJson(*result.difference) : Json(nullptr)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace OrvWorkFlow::Program
