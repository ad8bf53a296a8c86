#include "orvflow/page/Metrics.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

namespace OrvWorkFlow::Program {

namespace {

using Labels = std::vector<std::pair<const char*, std::string>>;

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || c == '"') escaped += '\\';
    escaped += c == '\n' ? "\\n" : std::string(1, c);
  }
  return escaped;
}

class Writer {
 public:
  void Begin(const char* name, const char* type, const char* help) {
    name_ = name;
    text_ += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
  }
  void Add(const Labels& labels, const std::string& value) {
    text_ += name_;
    const char* before = "{";
    for (const auto& [label, text] : labels) {
      text_ += std::string(before) + label + "=\"" + Escaped(text) + "\"";
      before = ",";
    }
    text_ += (labels.empty() ? " " : "} ") + value + "\n";
  }
  void Add(const Labels& labels, std::uint64_t value) { Add(labels, std::to_string(value)); }
  void Add(const Labels& labels, std::chrono::nanoseconds time) {
    char text[40];
    std::snprintf(text, sizeof text, "%.3f", std::chrono::duration<double>(time).count());
    Add(labels, std::string(text));
  }
  const std::string& text() const { return text_; }

 private:
  std::string name_;
  std::string text_;
};

template <class Value>
void AddNodes(Writer& writer, const RunDetails& details, const Value& value) {
  for (const RunTally::Node& node : details.nodes) {
    writer.Add({{"type", node.type}, {"instance", node.instance}}, std::uint64_t{value(node)});
  }
}

void AddRun(Writer& writer, const RunDetails& details) {
  const RunStanding& standing = details.standing;
  writer.Begin("orvflow_run_seconds", "gauge", "Time since the run began.");
  writer.Add({}, standing.run_time);
  writer.Begin("orvflow_deliveries_total", "counter", "Deliveries that have ended.");
  writer.Add({}, standing.delivered);
  writer.Begin("orvflow_failures_total", "counter", "Failures that the run has told of.");
  writer.Add({}, standing.failures);
  writer.Begin("orvflow_signals_waiting", "gauge", "Signals in the queue.");
  writer.Add({}, standing.waiting);
  writer.Begin("orvflow_deliveries_at_work", "gauge", "Deliveries that have begun and not ended.");
  writer.Add({}, std::uint64_t{details.work.size()});
  std::chrono::nanoseconds longest{};
  for (const RunTally::Work& work : details.work) longest = std::max<std::chrono::nanoseconds>(longest, work.time);
  writer.Begin("orvflow_longest_work_seconds", "gauge", "Time of the delivery that has been at work longest.");
  writer.Add({}, longest);
  if (standing.durable) {
    writer.Begin("orvflow_durable_deliveries", "gauge", "Deliveries that a power failure would leave done.");
    writer.Add({}, *standing.durable);
  }
  if (!standing.since_save) return;
  writer.Begin("orvflow_seconds_since_save", "gauge", "Time since the state was saved last; missing before that.");
  writer.Add({}, *standing.since_save);
}

void AddUntaken(Writer& writer, const RunDetails& details) {
  writer.Begin("orvflow_untaken_signals_total", "counter", "Output signals that nothing takes.");
  for (const RunTally::Untaken& each : details.untaken) {
    writer.Add({{"type", each.type}, {"instance", each.instance}, {"signal", each.signal}}, each.times);
  }
}

}  // namespace

std::string MetricsText(const RunDetails& details, const std::string& workflow_name, const std::string& state) {
  Writer writer;
  writer.Begin("orvflow_run_info", "gauge", "The workflow and the state of its run.");
  writer.Add({{"workflow", workflow_name}, {"state", state}, {"version", ORVFLOW_VERSION}}, std::uint64_t{1});
  AddRun(writer, details);
  writer.Begin("orvflow_node_deliveries_total", "counter", "Deliveries to a node that have ended.");
  AddNodes(writer, details, [](const RunTally::Node& node) { return node.delivered; });
  writer.Begin("orvflow_node_failures_total", "counter", "Deliveries to a node that failed.");
  AddNodes(writer, details, [](const RunTally::Node& node) { return node.failed; });
  writer.Begin("orvflow_node_signals_waiting", "gauge", "Signals for a node in the queue.");
  AddNodes(writer, details, [](const RunTally::Node& node) { return node.waiting; });
  writer.Begin("orvflow_node_made", "gauge", "1 for a node that was made.");
  AddNodes(writer, details, [](const RunTally::Node& node) { return std::uint64_t{node.made}; });
  writer.Begin("orvflow_node_busy", "gauge", "1 for a node at work outside of its signals.");
  AddNodes(writer, details, [](const RunTally::Node& node) { return std::uint64_t{node.busy}; });
  AddUntaken(writer, details);
  return writer.text();
}

}  // namespace OrvWorkFlow::Program
