// What libraries register, as people, programs and pages read it.
#pragma once

#include <string>
#include <vector>

#include "orvflow/inspect/LibraryDescription.h"

namespace OrvWorkFlow::Program {

// The library's name, a line for each type, and below a node what it says about itself.
std::string LibraryAsText(const LibraryDescription& library);
// docs/libraries.schema.json.
std::string LibrariesAsJson(const std::vector<LibraryDescription>& libraries);
// A section for each library and each node type.
std::string LibrariesAsMarkdown(const std::vector<LibraryDescription>& libraries);

}  // namespace OrvWorkFlow::Program
