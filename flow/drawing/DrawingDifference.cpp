#include "flow/drawing/DrawingDifference.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "base/text/Counting.h"
#include "flow/drawing/DotText.h"

namespace OrvWorkFlow::Flow {

namespace {

enum class Change { None, Added, Removed, Changed };

struct Look {
  const char* sign;
  const char* line;
  const char* fill;
  const char* text;
  const char* style;  // of lines
  const char* word;
};

const Look& LookOf(Change change) {
  static constexpr Look kLooks[] = {
      {"", "#9aa5b1", "#f5f7fa", "#52606d", "solid", "as before"},
      {"+ ", "#1a7f37", "#dafbe1", "#116329", "solid", "added"},
      {"\xE2\x88\x92 ", "#c62828", "#ffebe9", "#a40e26", "dashed", "removed"},
      {"~ ", "#b7700d", "#fff3d6", "#7a4a00", "solid", "changed"},
  };
  return kLooks[static_cast<std::size_t>(change)];
}

// Without the blank behind it.
std::string SignOf(const Look& look) {
  const std::string sign = look.sign;
  return sign.substr(0, sign.size() - 1);
}

constexpr char kTitle[] = "#1f2933";
constexpr char kArrow[] = " \xE2\x86\x92 ";
constexpr std::size_t kMostLines = 6;
constexpr Change kAll[] = {Change::None, Change::Changed, Change::Removed, Change::Added};

using Key = std::pair<std::string, std::string>;  // type and instance

// A signal on its way between two instances.
struct Way {
  Key from;
  Key to;
  bool operator<(const Way& other) const { return std::tie(from, to) < std::tie(other.from, other.to); }
};
// What goes that way: by the fired signal the one that it arrives as, how many times each.
using Signals = std::map<std::string, std::multiset<std::string>>;
using Ways = std::map<Way, Signals>;

struct Node {
  Change change = Change::None;
  std::vector<std::string> lines;
  bool is_there = true;  // in one of the workflows, not only in a mapping
};

const Key kStart{"", ""};

class Difference {
 public:
  Difference(const Workflow& before, const Workflow& after, const NodeChanges& changes) {
    AddNodes(after, Change::Added);
    AddNodes(before, Change::Removed);
    for (const NodeType& type : after.types) {
      for (const Instance& instance : type.instances) {
        const auto found = changes.find(instance.path);
        if (found != changes.end()) nodes_.at({type.name, instance.name}) = {Change::Changed, found->second, true};
      }
    }
    const Ways new_ways = WaysOf(after);
    const Ways old_ways = WaysOf(before);
    for (const Way& way : way_order_) {
      if (arrows_.count(way) == 0) Compare(way, SignalsOn(old_ways, way), SignalsOn(new_ways, way));
    }
  }

  std::string Draw(const std::string& title, const std::string& since) {
    std::string body;
    std::size_t number = 0;
    std::map<Key, std::string> names = {{kStart, "start"}};
    if (has_start_) {
      body += "  start [shape=circle, label=\"\", width=0.22, style=filled, fillcolor=\"" + std::string(kTitle) +
              "\", color=\"" + kTitle + "\", tooltip=\"the workflow begins here\"];\n";
    }
    for (const Key& key : node_order_) {
      const std::string name = "n" + std::to_string(number++);
      names.emplace(key, name);
      body += DrawNode(name, key, nodes_.at(key));
    }
    for (const Way& way : way_order_) {
      const auto lines = std::move(arrows_[way]);  // Once for a way that is in both.
      arrows_[way].clear();
      for (const Change change : kAll) {
        const auto found = lines.find(change);
        if (found != lines.end()) body += DrawArrow(names.at(way.from), names.at(way.to), change, found->second);
      }
    }
    return Head(title, since) + body + "}\n}\n";
  }

 private:
  void AddNodes(const Workflow& workflow, Change change) {
    for (const NodeType& type : workflow.types) {
      for (const Instance& instance : type.instances) {
        const auto [node, is_new] = nodes_.try_emplace({type.name, instance.name});
        node->second.change = is_new ? change : Change::None;
        if (is_new) node_order_.push_back(node->first);
      }
    }
  }

  // Whom signals lead to that is not there is drawn as a node of that workflow.
  Ways WaysOf(const Workflow& workflow) {
    Ways ways;
    const auto add = [&](const Key& from, const std::string& fired, const Address& receiver) {
      const Key to(receiver.type, receiver.instance);
      if (nodes_.try_emplace(to, Node{Change::None, {"not there"}, false}).second) node_order_.push_back(to);
      const auto [way, is_new] = ways.try_emplace({from, to});
      way->second[fired].insert(receiver.signal);
      if (is_new) way_order_.push_back(way->first);
    };
    if (!workflow.start.type.empty()) {
      has_start_ = true;
      add(kStart, "", workflow.start);
    }
    for (const NodeType& type : workflow.types) {
      for (const Instance& instance : type.instances) {
        for (const OutputSignal& output : instance.outputs) {
          for (const Mapping& mapping : output.mappings) {
            if (mapping.receiver) add({type.name, instance.name}, output.name, *mapping.receiver);
          }
        }
      }
    }
    return ways;
  }

  static Signals SignalsOn(const Ways& ways, const Way& way) {
    const auto found = ways.find(way);
    return found == ways.end() ? Signals() : found->second;
  }

  static std::string TextOf(const std::string& fired, const std::string& taken) {
    return fired.empty() || fired == taken ? taken : fired + kArrow + taken;
  }

  // A signal that arrives there as another one has changed; else it is there, or it came, or it went.
  void Compare(const Way& way, Signals before, Signals after) {
    const auto add = [&](Change change, std::string text) {
      arrows_[way][change].push_back(std::move(text));
      if (change != Change::None) ++signals_[static_cast<std::size_t>(change)];
    };
    for (auto& [fired, taken] : after) {
      std::multiset<std::string>& old = before[fired];
      for (auto name = taken.begin(); name != taken.end();) {
        const auto same = old.find(*name);
        if (same == old.end()) {
          ++name;
          continue;
        }
        add(Change::None, TextOf(fired, *name));
        old.erase(same);
        name = taken.erase(name);
      }
      for (const std::string& name : taken) {
        if (old.empty()) {
          add(Change::Added, TextOf(fired, name));
          continue;
        }
        add(Change::Changed, TextOf(fired, name) + " (was " + *old.begin() + ")");
        old.erase(old.begin());
      }
    }
    for (const auto& [fired, taken] : before) {
      for (const std::string& name : taken) add(Change::Removed, TextOf(fired, name));
    }
  }

  static std::string Attributes(const char* size, const char* colour) {
    return "point-size=\"" + std::string(size) + "\" color=\"" + colour + "\"";
  }

  std::string DrawNode(const std::string& name, const Key& key, const Node& node) const {
    const Look& look = LookOf(node.change);
    std::string label = "<b>" + std::string(look.sign) + InHtml(key.second) + "</b><br/>" +
                        Font(Attributes("10", look.text).c_str(), InHtml(key.first));
    for (std::size_t i = 0; i < std::min(node.lines.size(), kMostLines); ++i) {
      label += "<br/>" + Font(Attributes("10", look.text).c_str(), InHtml(node.lines[i]));
    }
    if (node.lines.size() > kMostLines) {
      label += "<br/>" + Font(Attributes("10", look.text).c_str(),
                              "and " + std::to_string(node.lines.size() - kMostLines) + " more");
    }
    const char* const style = !node.is_there ? ",dotted" : node.change == Change::Removed ? ",dashed" : "";
    return "  " + name + " [label=<" + label + ">, color=\"" + look.line + "\", fillcolor=\"" + look.fill +
           "\", fontcolor=\"" + look.text + "\", style=\"filled,rounded" + style + "\"" +
           (node.change == Change::None ? "" : ", penwidth=2.2") + "];\n";
  }

  static std::string DrawArrow(const std::string& from, const std::string& to, Change change,
                               const std::vector<std::string>& lines) {
    const Look& look = LookOf(change);
    std::string label;
    for (std::size_t i = 0; i < std::min(lines.size(), kMostLines); ++i) {
      label += " " + std::string(look.sign) + InHtml(lines[i]) + " <br align=\"left\"/>";
    }
    if (lines.size() > kMostLines) label += " and " + std::to_string(lines.size() - kMostLines) + " more ";
    return "  " + from + " -> " + to + " [label=<" + label + ">, color=\"" + look.line + "\", fontcolor=\"" +
           look.text + "\", style=" + look.style + (change == Change::None ? "" : ", penwidth=2") + "];\n";
  }

  std::string Head(const std::string& title, const std::string& since) const {
    const char* const font = "fontname=\"Helvetica,Arial,sans-serif\"";
    return "digraph difference {\n  graph [" + std::string(font) +
           ", rankdir=LR, nodesep=0.35, ranksep=0.7, pad=0.4, bgcolor=white, newrank=true, labelloc=b, labeljust=l, "
           "label=<" +
           Legend() + ">];\n  node [shape=box, " + font +
           ", fontsize=12, margin=\"0.16,0.09\", penwidth=1.2];\n  edge [" + font +
           ", fontsize=10, penwidth=1.1, arrowsize=0.8];\n  subgraph cluster_workflow {\n  label=<<b>" + InHtml(title) +
           "</b><br/>" + Font(Attributes("12", "#52606d").c_str(), "since " + InHtml(since) + "<br/>" + Counts()) +
           ">; labelloc=t; labeljust=c; fontsize=20; fontcolor=\"" + kTitle + "\"; peripheries=0; margin=16;\n";
  }

  std::string Counts() const {
    std::array<std::size_t, std::size(kAll)> nodes{};
    for (const auto& [key, node] : nodes_) ++nodes[static_cast<std::size_t>(node.change)];
    std::string text;
    for (const Change change : {Change::Added, Change::Removed, Change::Changed}) {
      const auto index = static_cast<std::size_t>(change);
      for (const auto& [count, thing] : {std::pair(nodes[index], "instance"), std::pair(signals_[index], "signal")}) {
        if (count == 0) continue;
        text += (text.empty() ? "" : ", ") + Base::Counted(count, thing) + " " + LookOf(change).word;
      }
    }
    return text.empty() ? "nothing differs" : text;
  }

  static std::string Legend() {
    std::string rows;
    for (const Change change : {Change::Added, Change::Removed, Change::Changed, Change::None}) {
      const Look& look = LookOf(change);
      const bool is_removed = change == Change::Removed;
      rows += "<tr><td border=\"2\" style=\"rounded" + std::string(is_removed ? ",dashed" : "") + "\" color=\"" +
              look.line + "\" bgcolor=\"" + look.fill + "\">" +
              Font(Attributes("10", look.text).c_str(),
                   std::string("&nbsp;") + (*look.sign == '\0' ? "&nbsp;" : SignOf(look)) + "&nbsp;") +
              "</td><td align=\"left\">" + Font(Attributes("10", "#6b7785").c_str(), look.word) + "</td></tr>";
    }
    return "<table border=\"0\" cellborder=\"0\" cellspacing=\"3\">" + rows + "</table>";
  }

  std::map<Key, Node> nodes_;
  std::vector<Key> node_order_;
  std::vector<Way> way_order_;  // may have one twice
  std::map<Way, std::map<Change, std::vector<std::string>>> arrows_;
  std::array<std::size_t, std::size(kAll)> signals_{};
  bool has_start_ = false;
};

}  // namespace

std::string DrawDifference(const Workflow& before, const Workflow& after, const NodeChanges& changes,
                           const std::string& title, const std::string& since) {
  return Difference(before, after, changes).Draw(title, since);
}

}  // namespace OrvWorkFlow::Flow
