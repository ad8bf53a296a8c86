// Any texts in the language of Graphviz. Bytes that are no UTF-8, or no text, become a question mark.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Flow {

// In double quotes; a backslash stands for itself.
std::string Quoted(std::string_view text);

// Within HTML, Graphviz's labels among it; a blank for no text.
std::string InHtml(std::string_view text);

// `html` in a font with these attributes.
std::string Font(const char* attributes, const std::string& html);

}  // namespace OrvWorkFlow::Flow
