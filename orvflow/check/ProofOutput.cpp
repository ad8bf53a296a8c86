#include "orvflow/check/ProofOutput.h"

#include "nlohmann/json.hpp"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

const char* WordFor(Flow::Verdict verdict) {
  switch (verdict) {
    case Flow::Verdict::Proved:
      return "proved";
    case Flow::Verdict::Refuted:
      return "disproved";
    case Flow::Verdict::Unknown:
      return "not known";
  }
  return "not known";
}

}  // namespace

std::string ProofAsText(const std::string& shown_name, const Flow::Proof& proof) {
  std::string text;
  for (const Flow::Claim& claim : proof.claims) {
    text += Visible(shown_name + ": " + WordFor(claim.verdict) + ": " + claim.text) + "\n";
    std::string way;
    for (const std::string& step : claim.way) way += (way.empty() ? "  " : " -> ") + step;
    if (!way.empty()) text += Visible(way) + "\n";
  }
  return text;
}

nlohmann::ordered_json ProofAsJson(const Flow::Proof& proof) {
  nlohmann::ordered_json claims = nlohmann::ordered_json::array();
  for (const Flow::Claim& claim : proof.claims) {
    claims.push_back(
        {{"claim", claim.name}, {"verdict", WordFor(claim.verdict)}, {"what", claim.text}, {"way", claim.way}});
  }
  return claims;
}

}  // namespace OrvWorkFlow::Program
