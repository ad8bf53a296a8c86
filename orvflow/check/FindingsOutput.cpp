#include "orvflow/check/FindingsOutput.h"

#include <string_view>

#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/check/ProofOutput.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;
using Flow::Severity;

const char* WordFor(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Note:
      return "note";
  }
  return "note";
}

std::string Painted(Severity severity, const Colours& colours) {
  const char* const word = WordFor(severity);
  if (severity == Severity::Error) return colours.Red(word);
  return severity == Severity::Warning ? colours.Yellow(word) : word;
}

const char* RuleOf(const Flow::Finding& finding) { return finding.area == Flow::Area::Plugins ? "plugin" : "wiring"; }

std::string TextOf(const Flow::Finding& finding) {
  return finding.remedy.empty() ? finding.what : finding.what + "; " + finding.remedy;
}

// Texts of a flow may be no UTF-8: what is not stands as U+FFFD.
std::string Written(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

// A path as a URI has it: with slashes, and what no URI may hold as %XX.
std::string UriOf(const std::string& path) {
  static constexpr char kKept[] = "-._~/:!$&'()*+,;=@";
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
    if (c == '\\') {
      uri += '/';
    } else if (is_letter || std::string_view(kKept).find(c) != std::string_view::npos) {
      uri += c;
    } else {
      uri.append("%").append(1, kDigits[byte / 16]).append(1, kDigits[byte % 16]);
    }
  }
  return uri;
}

Json LocationOf(const std::string& file, const PlacedFinding& placed) {
  Json physical = {{"artifactLocation", {{"uri", UriOf(file)}}}};
  if (placed.place.line > 0) {
    physical["region"] = {{"startLine", placed.place.line}, {"startColumn", placed.place.column}};
  }
  Json location = {{"physicalLocation", physical}};
  if (!placed.finding.path.empty()) {
    location["logicalLocations"] = Json::array({{{"fullyQualifiedName", placed.finding.path}}});
  }
  return location;
}

}  // namespace

FindingCounts Count(const std::vector<FileFindings>& files) {
  FindingCounts counts;
  for (const FileFindings& file : files) {
    for (const PlacedFinding& placed : file.findings) {
      const Severity severity = placed.finding.severity;
      ++(severity == Severity::Error ? counts.errors : severity == Severity::Warning ? counts.warnings : counts.notes);
    }
  }
  return counts;
}

std::string FindingsAsText(const std::vector<FileFindings>& files, const Colours& colours) {
  std::string text;
  for (const FileFindings& file : files) {
    for (const auto& [finding, place] : file.findings) {
      std::string line = file.shown_name;
      if (place.line > 0) line += ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
      line += ": ";
      if (!finding.path.empty()) line += finding.path + ": ";
      text += Visible(line) + Painted(finding.severity, colours) + Visible(": " + TextOf(finding)) + "\n";
    }
  }
  if (!text.empty()) {
    const FindingCounts counts = Count(files);
    text += Base::Counted(counts.errors, "error") + ", " + Base::Counted(counts.warnings, "warning");
    text += (counts.notes > 0 ? ", " + Base::Counted(counts.notes, "note") : "") + "\n";
  }
  for (const FileFindings& file : files) {
    if (file.proof) text += ProofAsText(file.shown_name, *file.proof);
  }
  return text;
}

std::string FindingsAsJson(const std::vector<FileFindings>& files) {
  Json list = Json::array();
  for (const FileFindings& file : files) {
    Json findings = Json::array();
    for (const auto& [finding, place] : file.findings) {
      Json one = {{"severity", WordFor(finding.severity)}, {"rule", RuleOf(finding)}, {"path", finding.path}};
      if (place.line > 0) {
        one["line"] = place.line;
        one["column"] = place.column;
      }
      one["what"] = finding.what;
      one["remedy"] = finding.remedy;
      findings.push_back(std::move(one));
    }
    list.push_back({{"file", file.shown_name}, {"findings", std::move(findings)}});
    if (file.proof) list.back()["proof"] = ProofAsJson(*file.proof);
  }
  const FindingCounts counts = Count(files);
  return Written({{"version", 1},
                  {"errors", counts.errors},
                  {"warnings", counts.warnings},
                  {"notes", counts.notes},
                  {"files", std::move(list)}});
}

std::string FindingsAsSarif(const std::vector<FileFindings>& files) {
  Json results = Json::array();
  for (const FileFindings& file : files) {
    for (const PlacedFinding& placed : file.findings) {
      results.push_back({{"ruleId", RuleOf(placed.finding)},
                         {"level", WordFor(placed.finding.severity)},
                         {"message", {{"text", TextOf(placed.finding)}}},
                         {"locations", Json::array({LocationOf(file.shown_name, placed)})}});
    }
  }
  const auto rule = [](const char* id, const char* sentence) {
    return Json{{"id", id}, {"shortDescription", {{"text", sentence}}}};
  };
  const Json driver = {{"name", "orvflow"},
                       {"version", ORVFLOW_VERSION},
                       {"rules", Json::array({rule("wiring", "Names, signals, mappings and parameters of a workflow"),
                                              rule("plugin", "The libraries that hold the nodes of a workflow")})}};
  return Written({{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                  {"version", "2.1.0"},
                  {"runs", Json::array({{{"tool", {{"driver", driver}}}, {"results", std::move(results)}}})}});
}

}  // namespace OrvWorkFlow::Program
