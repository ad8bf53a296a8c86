// What is proved of workflows, as people and programs read it.
#pragma once

#include <string>

#include "flow/graph/Proof.h"
#include "nlohmann/json_fwd.hpp"

namespace OrvWorkFlow::Program {

// "FILE: proved: ...", "FILE: disproved: ..." or "FILE: not known: ...", a line for each claim, and below one that has
// a way "  SIGNAL -> SIGNAL -> ...".
std::string ProofAsText(const std::string& shown_name, const Flow::Proof& proof);

// A list of the claims, as docs/findings.schema.json has it.
nlohmann::ordered_json ProofAsJson(const Flow::Proof& proof);

}  // namespace OrvWorkFlow::Program
