#include "orvflow/watch/ReportJson.h"

namespace OrvWorkFlow::Program {

namespace {

double Seconds(std::chrono::nanoseconds time) { return std::chrono::duration<double>(time).count(); }

// "" is none.
Json TextOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json WorkAsJson(const RunDetails& details) {
  Json work = Json::array();
  for (const RunTally::Work& each : details.work) {
    work.push_back({{"type", each.type},
                    {"instance", each.instance},
                    {"signal", each.signal},
                    {"number", each.number},
                    {"seconds", Seconds(each.time)}});
  }
  return work;
}

Json QueueAsJson(const RunDetails& details) {
  Json queue = Json::array();
  for (const RunTally::Waiting& each : details.first_waiting) {
    queue.push_back({{"number", each.number}, {"sender", TextOrNull(each.sender)}, {"receiver", each.receiver}});
  }
  return queue;
}

Json NodesAsJson(const RunDetails& details) {
  Json nodes = Json::array();
  for (const RunTally::Node& node : details.nodes) {
    nodes.push_back({{"type", node.type},
                     {"instance", node.instance},
                     {"made", node.made},
                     {"busy", node.busy},
                     {"delivered", node.delivered},
                     {"failed", node.failed},
                     {"waiting", node.waiting}});
  }
  return nodes;
}

Json FailuresAsJson(const RunDetails& details) {
  Json failures = Json::array();
  for (const auto& [text, times] : details.failures) failures.push_back({{"text", text}, {"times", times}});
  return failures;
}

Json UntakenAsJson(const RunDetails& details) {
  Json untaken = Json::array();
  for (const RunTally::Untaken& each : details.untaken) {
    untaken.push_back(
        {{"type", each.type}, {"instance", each.instance}, {"signal", each.signal}, {"times", each.times}});
  }
  return untaken;
}

}  // namespace

Json MakeReportJson(const RunDetails& details) {
  const RunStanding& standing = details.standing;
  return {{"version", 1},
          {"title", details.title},
          {"seconds", Seconds(standing.run_time)},
          {"delivered", standing.delivered},
          {"per_second", standing.per_second},
          {"waiting", standing.waiting},
          {"failed", standing.failures},
          {"since_save", standing.since_save ? Json(Seconds(*standing.since_save)) : Json(nullptr)},
          {"durable", standing.durable ? Json(*standing.durable) : Json(nullptr)},
          {"at_work", WorkAsJson(details)},
          {"queue", QueueAsJson(details)},
          {"nodes", NodesAsJson(details)},
          {"failures", FailuresAsJson(details)},
          {"untaken", UntakenAsJson(details)}};
}

std::string ReportAsJson(const RunDetails& details) {
  return MakeReportJson(details).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace OrvWorkFlow::Program
