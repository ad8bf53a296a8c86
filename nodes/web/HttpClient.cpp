#include "nodes/web/HttpClient.h"

#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Nodes {

void CheckUrl(const std::string& url) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    const bool has_scheme = Sdk::Parameters::EqualIgnoringCase(std::string_view(url).substr(0, scheme.size()), scheme);
    if (has_scheme && url.size() > scheme.size()) return;
  }
  throw HttpProblem("\"" + url + "\" is no address that begins with http:// or https://");
}

}  // namespace OrvWorkFlow::Nodes
