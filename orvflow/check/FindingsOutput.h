// What was found in flows, as people, programs and code hosts read it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "flow/check/Finding.h"
#include "flow/graph/Proof.h"
#include "flow/model/SourcePlaces.h"
#include "orvflow/terminal/Colours.h"

namespace OrvWorkFlow::Program {

struct PlacedFinding {
  Flow::Finding finding;
  Flow::SourcePlace place;  // line 0 where the file cannot be looked into
};

// What was found in one file, in the order of its lines.
struct FileFindings {
  std::string shown_name;
  std::vector<PlacedFinding> findings;
  std::optional<Flow::Proof> proof = {};  // where one was asked for
};

struct FindingCounts {
  std::size_t errors = 0;
  std::size_t warnings = 0;
  std::size_t notes = 0;
};
FindingCounts Count(const std::vector<FileFindings>& files);

// "FILE:LINE:COLUMN: /Path: severity: what; what to do", a line each, and a line that counts; "" for none.
// Then what is proved.
std::string FindingsAsText(const std::vector<FileFindings>& files, const Colours& colours);
// docs/findings.schema.json.
std::string FindingsAsJson(const std::vector<FileFindings>& files);
// SARIF 2.1.0.
std::string FindingsAsSarif(const std::vector<FileFindings>& files);

}  // namespace OrvWorkFlow::Program
