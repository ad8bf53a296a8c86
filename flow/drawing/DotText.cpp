#include "flow/drawing/DotText.h"

namespace OrvWorkFlow::Flow {

namespace {

// Bytes that are no UTF-8, or no text, become a question mark: Graphviz refuses a file with one.
std::string Clean(std::string_view text) {
  std::string clean;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const std::size_t size = byte < 0x80                   ? 1
                             : byte >= 0xC2 && byte < 0xE0 ? 2
                             : byte >= 0xE0 && byte < 0xF0 ? 3
                             : byte >= 0xF0 && byte < 0xF5 ? 4
                                                           : 0;
    bool is_whole = size > 0 && i + size <= text.size() && byte >= 0x20 && byte != 0x7F;
    for (std::size_t k = 1; is_whole && k < size; ++k) {
      is_whole = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    }
    clean += is_whole ? std::string(text.substr(i, size)) : "?";
    i += is_whole ? size : 1;
  }
  return clean;
}

}  // namespace

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : Clean(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

std::string InHtml(std::string_view text) {
  std::string html;
  for (const char c : Clean(text)) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  // Graphviz takes an empty one for a mistake.
  return html.empty() ? " " : html;
}

std::string Font(const char* attributes, const std::string& html) {
  return "<font " + std::string(attributes) + ">" + html + "</font>";
}

}  // namespace OrvWorkFlow::Flow
