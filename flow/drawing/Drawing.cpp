#include "flow/drawing/Drawing.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/text/Counting.h"
#include "flow/drawing/DotText.h"

namespace OrvWorkFlow::Flow {

namespace {

// Fills and borders that are told apart by most eyes, and in grey by their names.
struct Colour {
  const char* fill;
  const char* line;
};
constexpr Colour kColours[] = {
    {"#e8f1fb", "#2b6cb0"}, {"#eaf6ec", "#2f7d45"}, {"#fdf3e1", "#b0731a"}, {"#f3ecfa", "#7a4fa3"},
    {"#fdecef", "#b03a5b"}, {"#e6f5f5", "#1f7a80"}, {"#f4f1ea", "#77643a"}, {"#eceff3", "#4a5a70"},
};
constexpr char kErrorColour[] = "#c62828";
constexpr char kWarningColour[] = "#d98200";
constexpr char kText[] = "#1f2933";
constexpr char kQuiet[] = "#6b7785";
// More signals on one arrow are counted.
constexpr std::size_t kMostLabelLines = 6;

class Drawing {
 public:
  Drawing(const Workflow& workflow, const Findings& findings, bool grouped) : workflow_(workflow), grouped_(grouped) {
    for (const Finding& finding : findings) {
      if (finding.severity != Severity::Note) findings_.push_back(&finding);
    }
    AssignFindings();
    for (std::size_t i = 0; i < workflow.types.size(); ++i) {
      for (const Instance& instance : workflow.types[i].instances) {
        names_.emplace(Key(workflow.types[i].name, instance.name), "n" + std::to_string(names_.size()));
        if (IsGuest(instance)) guests_.insert(instance.flow);
      }
    }
  }

  std::string Draw(const std::string& title) {
    FindMissing();
    Head();
    // Around all of it, so that the title stands above the picture and the legend below.
    Line("subgraph cluster_workflow {");
    Line("label=<<b>" + InHtml(title) + "</b>>; labelloc=t; labeljust=c; fontsize=20; fontcolor=\"" + kText +
         "\"; peripheries=0; margin=16;");
    for (std::size_t i = 0; i < workflow_.types.size(); ++i) DrawType(i);
    for (const std::string& flow : guests_) DrawGuest(flow);
    DrawStarts();
    for (const NodeType& type : workflow_.types) {
      for (const Instance& instance : type.instances) DrawSignals(type, instance);
    }
    for (const auto& [key, name] : missing_) DrawMissing(key, name);
    Line("}");
    return std::move(dot_) + "}\n";
  }

 private:
  using Key = std::pair<std::string, std::string>;

  void Line(const std::string& line) { dot_ += "  " + line + "\n"; }

  void Head() {
    dot_ = "digraph workflow {\n";
    Line(std::string(
             "graph [fontname=\"Helvetica,Arial,sans-serif\", rankdir=LR, nodesep=0.35, ranksep=0.7, pad=0.4, ") +
         "bgcolor=white, newrank=true, labelloc=b, labeljust=l, label=<" + Legend() + ">];");
    Line(
        "node [shape=box, style=\"filled,rounded\", fontname=\"Helvetica,Arial,sans-serif\", fontsize=12, "
        "margin=\"0.16,0.09\", penwidth=1.4, fontcolor=\"" +
        std::string(kText) + "\"];");
    Line(
        "edge [fontname=\"Helvetica,Arial,sans-serif\", fontsize=10, color=\"#52606d\", fontcolor=\"#3e4c59\", "
        "penwidth=1.2, arrowsize=0.8];");
  }

  // The worst of what was found at an instance or below it, and how much.
  struct Mark {
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::string text;
  };
  Mark MarkOf(const Instance& instance, const NodeType& type) const {
    std::set<std::size_t> indices;
    for (const std::string* const path : {&instance.path, &type.path}) {
      const std::vector<std::size_t>& found = found_.at(*path).indices;
      indices.insert(found.begin(), found.end());
    }
    Mark mark;
    for (const std::size_t index : indices) {
      const Finding& finding = *findings_[index];
      ++(finding.severity == Severity::Error ? mark.errors : mark.warnings);
      mark.text += (mark.text.empty() ? "" : "&#10;") + InHtml(finding.what);
    }
    return mark;
  }

  // What is found at an instance or below it is the instance's; at a type or its library, that of all its instances.
  void AssignFindings() {
    for (const NodeType& type : workflow_.types) {
      found_[type.path].is_of_type = true;
      for (const Instance& instance : type.instances) found_[instance.path];
    }
    for (std::size_t i = 0; i < findings_.size(); ++i) {
      const std::string& path = findings_[i]->path;
      std::string above = path;
      while (!above.empty() && !found_.contains(above)) {
        const std::size_t slash = above.rfind('/');
        above.resize(slash == std::string::npos ? 0 : slash);
      }
      if (above.empty()) continue;
      Found& found = found_[above];
      if (!found.is_of_type || path == above || path.starts_with(above + "/Binaries")) found.indices.push_back(i);
    }
  }

  // Of another workflow, which was or is to be taken in.
  bool IsGuest(const Instance& instance) const {
    return !workflow_.name.empty() && !instance.flow.empty() && instance.flow != workflow_.name;
  }

  // The instances of a workflow that was taken in, in one frame.
  void DrawGuest(const std::string& flow) {
    const auto number = std::distance(guests_.begin(), guests_.find(flow));
    Line("subgraph cluster_guest" + std::to_string(number) + " {");
    Line("  label=<" + Font("point-size=\"12\"", "<b>" + InHtml(flow) + "</b>") +
         ">; labeljust=l; peripheries=1; style=\"rounded,dotted\"; color=\"" + kQuiet + "\"; fontcolor=\"" + kQuiet +
         "\"; margin=16; penwidth=1.6;");
    for (std::size_t i = 0; i < workflow_.types.size(); ++i) {
      for (const Instance& instance : workflow_.types[i].instances) {
        if (IsGuest(instance) && instance.flow == flow) {
          DrawInstance(workflow_.types[i], instance, kColours[i % std::size(kColours)], false);
        }
      }
    }
    Line("}");
  }

  void DrawType(std::size_t index) {
    const NodeType& type = workflow_.types[index];
    const auto own = std::count_if(type.instances.begin(), type.instances.end(),
                                   [this](const Instance& instance) { return !IsGuest(instance); });
    if (own == 0) return;
    const Colour& colour = kColours[index % std::size(kColours)];
    const bool is_group = grouped_ && own > 1;
    if (is_group) {
      Line("subgraph cluster_" + std::to_string(index) + " {");
      Line("  label=<" + Font("point-size=\"11\"", InHtml(type.name)) +
           ">; labeljust=l; peripheries=1; style=\"rounded,dashed\"; color=\"" + colour.line + "\"; fontcolor=\"" +
           colour.line + "\"; margin=14;");
    }
    for (const Instance& instance : type.instances) {
      if (!IsGuest(instance)) DrawInstance(type, instance, colour, is_group);
    }
    if (is_group) Line("}");
  }

  void DrawInstance(const NodeType& type, const Instance& instance, const Colour& colour, bool is_in_group) {
    const Mark mark = MarkOf(instance, type);
    std::string label = "<b>" + InHtml(instance.name) + "</b>";
    if (!is_in_group) {
      label +=
          "<br/>" + Font(("point-size=\"10\" color=\"" + std::string(colour.line) + "\"").c_str(), InHtml(type.name));
    }
    std::string line = colour.line;
    std::string width;
    const auto add_badge = [&](std::size_t count, const char* word, const char* badge_colour) {
      if (count == 0) return;
      label += "<br/>" + Font(("point-size=\"10\" color=\"" + std::string(badge_colour) + "\"").c_str(),
                              Base::Counted(count, word));
    };
    add_badge(mark.errors, "error", kErrorColour);
    add_badge(mark.warnings, "warning", kWarningColour);
    if (mark.errors + mark.warnings > 0) {
      line = mark.errors > 0 ? kErrorColour : kWarningColour;
      width = ", penwidth=2.6";
    }
    Line("  " + names_.at({type.name, instance.name}) + " [label=<" + label + ">, fillcolor=\"" + colour.fill +
         "\", color=\"" + line + "\"" + width + ", tooltip=\"" +
         (mark.text.empty() ? InHtml(type.name + " " + instance.name) : mark.text) + "\"];");
  }

  void DrawStarts() {
    if (!workflow_.start.type.empty()) DrawStart("start", workflow_.start, kText, "the workflow begins here");
    for (std::size_t i = 0; i < workflow_.guest_starts.size(); ++i) {
      DrawStart("start" + std::to_string(i), workflow_.guest_starts[i], kQuiet,
                "a workflow that is taken in begins here");
    }
  }

  void DrawStart(const std::string& name, const Address& to, const std::string& colour, const char* tip) {
    Line(name + " [shape=circle, label=\"\", width=0.22, style=filled, fillcolor=\"" + colour + "\", color=\"" +
         colour + "\", tooltip=\"" + tip + "\"];");
    Line(name + " -> " + NameOf(to) + " [label=" + Quoted(" " + to.signal + " ") + ", style=bold, color=\"" + colour +
         "\"];");
  }

  // One arrow between two instances, with all signals that go along it.
  void DrawSignals(const NodeType& type, const Instance& instance) {
    std::vector<std::pair<std::string, std::vector<std::string>>> arrows;
    for (const OutputSignal& output : instance.outputs) {
      for (const Mapping& mapping : output.mappings) {
        if (!mapping.receiver) continue;
        const std::string to = NameOf(*mapping.receiver);
        auto arrow = std::find_if(arrows.begin(), arrows.end(), [&](const auto& a) { return a.first == to; });
        if (arrow == arrows.end()) arrow = arrows.insert(arrow, {to, {}});
        const bool is_same = mapping.receiver->signal == output.name;
        arrow->second.push_back(is_same ? output.name : output.name + " \xE2\x86\x92 " + mapping.receiver->signal);
      }
    }
    const std::string from = names_.at({type.name, instance.name});
    for (const auto& [to, signals] : arrows) {
      std::string label;
      for (std::size_t i = 0; i < std::min(signals.size(), kMostLabelLines); ++i) {
        label += " " + InHtml(signals[i]) + " <br align=\"left\"/>";
      }
      if (signals.size() > kMostLabelLines)
        label += " and " + std::to_string(signals.size() - kMostLabelLines) + " more ";
      const bool is_lost = to[0] == 'm';
      Line(from + " -> " + to + " [label=<" + label + ">" +
           (is_lost ? std::string(", style=dashed, color=\"") + kErrorColour + "\"" : "") + "];");
    }
  }

  std::string NameOf(const Address& receiver) {
    const Key key(receiver.type, receiver.instance);
    const auto known = names_.find(key);
    if (known != names_.end()) return known->second;
    return missing_.try_emplace(key, "m" + std::to_string(missing_.size())).first->second;
  }

  void DrawMissing(const Key& key, const std::string& name) {
    Line(name + " [label=<" + InHtml(key.second) + "<br/>" +
         Font(("point-size=\"10\" color=\"" + std::string(kErrorColour) + "\"").c_str(),
              InHtml(key.first) + ", not there") +
         ">, style=\"rounded,dashed\", color=\"" + kErrorColour + "\", fontcolor=\"" + kErrorColour + "\"];");
  }

  // Receivers that are not there are known before the legend is.
  void FindMissing() {
    if (!workflow_.start.type.empty()) NameOf(workflow_.start);
    for (const Address& start : workflow_.guest_starts) NameOf(start);
    for (const NodeType& type : workflow_.types) {
      for (const Instance& instance : type.instances) {
        for (const OutputSignal& output : instance.outputs) {
          for (const Mapping& mapping : output.mappings) {
            if (mapping.receiver) NameOf(*mapping.receiver);
          }
        }
      }
    }
  }

  std::string Legend() const {
    std::string rows;
    const auto add = [&rows](const char* colour, const char* sign, const char* text) {
      const auto cell = [](const char* of_cell, const char* what) {
        return "<td align=\"left\">" +
               Font(("point-size=\"10\" color=\"" + std::string(of_cell) + "\"").c_str(), what) + "</td>";
      };
      rows += "<tr>" + cell(colour, sign) + cell(kQuiet, text) + "</tr>";
    };
    if (!workflow_.start.type.empty()) add(kText, "&#9679;", "where the workflow begins");
    add(kQuiet, "<b>Name</b>",
        grouped_ ? "an instance; a dashed frame holds those of one type"
                 : "an instance, and its node type, each in its colour");
    if (!guests_.empty()) add(kQuiet, "dotted frame", "a workflow that is taken in");
    add(kQuiet, "fired &rarr; taken", "a signal, and what it is called where it arrives");
    if (!findings_.empty() || !missing_.empty()) {
      add(kErrorColour, "red", "cannot work as it is written: orvflow check says why");
      add(kWarningColour, "orange", "is hardly meant so");
    }
    return "<table border=\"0\" cellborder=\"0\" cellspacing=\"1\">" + rows + "</table>";
  }

  const Workflow& workflow_;
  std::vector<const Finding*> findings_;
  struct Found {
    bool is_of_type = false;
    std::vector<std::size_t> indices;  // of findings_
  };
  std::map<std::string, Found> found_;  // by the path of an instance or a type
  std::map<Key, std::string> names_;
  std::set<std::string> guests_;  // the names of the workflows that were taken in
  std::map<Key, std::string> missing_;
  std::string dot_;
  const bool grouped_;
};

}  // namespace

std::string DrawAsDot(const Workflow& workflow, const Findings& findings, const std::string& title, bool grouped) {
  return Drawing(workflow, findings, grouped).Draw(title);
}

}  // namespace OrvWorkFlow::Flow
