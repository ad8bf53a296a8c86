// The folders from which `orvflow new` makes others: the files below orvflow/new/templates/, in the program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program {

// A file below the templates, "node/flow.xml", byte for byte.
struct TemplateFile {
  std::string_view path;
  std::string_view text;
};
// All of them, in the order of their paths.
std::vector<TemplateFile> TemplateFiles();

struct NewFile {
  std::string name;
  std::string text;
};

// The files of a new "node", "flow" or "host". Where the templates say NewNode, NewFlow or NewHost, in names of files
// and in texts, they say `name`. None for another kind.
std::vector<NewFile> FilesFor(std::string_view kind, std::string_view name);

// Why a node, flow or host cannot have that name, as the end of a sentence; "" when it can.
std::string WhyNotAName(std::string_view kind, std::string_view name);

}  // namespace OrvWorkFlow::Program
