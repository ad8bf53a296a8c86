#include "orvflow/graph/GraphPage.h"

#include <map>
#include <string_view>
#include <utility>

#include "flow/drawing/DotText.h"
#include "nlohmann/json.hpp"

namespace OrvWorkFlow::Program {

// web/graph, made into one file; empty in a build without it.
extern const std::string_view kGraphPage;

namespace {

using Json = nlohmann::ordered_json;

// Each stands in the page once, as its build has checked.
constexpr std::string_view kTitleMark = "@TITLE@";
constexpr std::string_view kDataMark = "@DATA@";

// In a script element: nothing in it ends the element.
std::string InScript(const Json& data) {
  std::string script;
  for (const char c : data.dump(-1, ' ', false, Json::error_handler_t::replace)) {
    if (c == '<') {
      script += "\\u003c";
    } else {
      script += c;
    }
  }
  return script;
}

class PageData {
 public:
  PageData(const Flow::Workflow& workflow, const Flow::Findings& findings) {
    for (const Flow::NodeType& type : workflow.types) {
      for (const Flow::Instance& instance : type.instances) AddNode(type, instance);
    }
    if (!workflow.start.type.empty()) AddArrow("start", workflow.start.signal, workflow.start);
    for (std::size_t i = 0; i < workflow.guest_starts.size(); ++i) {
      AddArrow("start" + std::to_string(i), workflow.guest_starts[i].signal, workflow.guest_starts[i]);
    }
    for (const Flow::NodeType& type : workflow.types) {
      for (const Flow::Instance& instance : type.instances) AddArrows(type, instance);
    }
    for (const Flow::Finding& finding : findings) AddFinding(finding);
  }

  Json Make(const std::string& title, const std::string& dot) const {
    return {{"title", title}, {"dot", dot}, {"nodes", nodes_}, {"arrows", arrows_}, {"findings", findings_}};
  }

 private:
  void AddNode(const Flow::NodeType& type, const Flow::Instance& instance) {
    const std::string id = "n" + std::to_string(nodes_.size());
    if (!ids_.emplace(std::pair(type.name, instance.name), id).second) return;
    paths_.emplace(instance.path, id);
    nodes_.push_back({{"id", id},
                      {"name", instance.name},
                      {"type", type.name},
                      {"path", instance.path},
                      {"plugin", type.plugin},
                      {"parameters", instance.parameters}});
  }

  void AddArrow(const std::string& from, const std::string& fired, const Flow::Address& to) {
    const auto known = ids_.find({to.type, to.instance});
    arrows_.push_back(
        {{"from", from}, {"to", known == ids_.end() ? "" : known->second}, {"fired", fired}, {"taken", to.signal}});
  }

  void AddArrows(const Flow::NodeType& type, const Flow::Instance& instance) {
    const std::string from = ids_.at({type.name, instance.name});
    for (const Flow::OutputSignal& output : instance.outputs) {
      for (const Flow::Mapping& mapping : output.mappings) {
        if (mapping.receiver) AddArrow(from, output.name, *mapping.receiver);
      }
    }
  }

  // The node that holds the entry: the longest of the paths above it.
  std::string NodeOf(std::string path) const {
    while (!path.empty()) {
      const auto known = paths_.find(path);
      if (known != paths_.end()) return known->second;
      const std::size_t slash = path.rfind('/');
      path.resize(slash == std::string::npos ? 0 : slash);
    }
    return {};
  }

  void AddFinding(const Flow::Finding& finding) {
    const char* severity = finding.severity == Flow::Severity::Error     ? "error"
                           : finding.severity == Flow::Severity::Warning ? "warning"
                                                                         : "note";
    findings_.push_back({{"severity", severity},
                         {"path", finding.path},
                         {"what", finding.what},
                         {"remedy", finding.remedy},
                         {"node", NodeOf(finding.path)}});
  }

  std::map<std::pair<std::string, std::string>, std::string> ids_;
  std::map<std::string, std::string> paths_;
  Json nodes_ = Json::array();
  Json arrows_ = Json::array();
  Json findings_ = Json::array();
};

}  // namespace

bool HasGraphPage() { return !kGraphPage.empty(); }

std::string MakeGraphPage(const std::string& title, const std::string& dot, const Flow::Workflow& workflow,
                          const Flow::Findings& findings) {
  const std::size_t title_mark = kGraphPage.find(kTitleMark);
  const std::size_t data_mark = kGraphPage.find(kDataMark, title_mark);
  const std::size_t after_title = title_mark + kTitleMark.size();
  std::string page(kGraphPage.substr(0, title_mark));
  page += Flow::InHtml(title);
  page += kGraphPage.substr(after_title, data_mark - after_title);
  page += InScript(PageData(workflow, findings).Make(title, dot));
  page += kGraphPage.substr(data_mark + kDataMark.size());
  return page;
}

std::string MakeGraphData(const std::string& title, const std::string& dot, const Flow::Workflow& workflow) {
  return PageData(workflow, {}).Make(title, dot).dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace OrvWorkFlow::Program
