#include "orvflow/schema/XsdText.h"

#include <algorithm>

namespace OrvWorkFlow::Program::Xsd {

namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsNameCharacter(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '-'; }

std::string Begin(std::string_view name, std::string_view occurs) {
  std::string text = "<xs:element name=\"";
  return text.append(Escaped(name)).append("\"").append(occurs);
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  return escaped;
}

std::string Pattern(std::string_view text) {
  std::string pattern;
  for (const char c : text) {
    if (std::string_view(".\\?*+(){}[]|^-").find(c) != std::string_view::npos) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

std::string AnyCasePattern(std::string_view text) {
  std::string pattern;
  for (const char c : text) {
    const bool is_capital = c >= 'A' && c <= 'Z';
    const bool is_small = c >= 'a' && c <= 'z';
    if (!is_capital && !is_small) {
      pattern += Pattern(std::string_view(&c, 1));
      continue;
    }
    const char small = is_capital ? static_cast<char>(c - 'A' + 'a') : c;
    pattern.append({'[', static_cast<char>(small - 'a' + 'A'), small, ']'});
  }
  return pattern;
}

std::string OneOf(const std::vector<std::string>& texts) {
  std::string pattern = "(";
  for (const std::string& text : texts) {
    if (&text != &texts.front()) pattern += '|';
    pattern += Pattern(text);
  }
  return pattern + ")";
}

bool IsElementName(std::string_view name) {
  return !name.empty() && IsLetter(name.front()) && std::all_of(name.begin(), name.end(), IsNameCharacter);
}

std::string Documentation(std::string_view sentence) {
  if (sentence.empty()) return {};
  return "<xs:annotation><xs:documentation>" + Escaped(sentence) + "</xs:documentation></xs:annotation>";
}

std::string Element(std::string_view name, std::string_view occurs, std::string_view sentence,
                    std::string_view content) {
  return Begin(name, occurs).append(">").append(Documentation(sentence)).append(content).append("</xs:element>\n");
}

std::string ElementOf(std::string_view name, std::string_view occurs, std::string_view sentence,
                      std::string_view type) {
  std::string text = Begin(name, occurs);
  text.append(" type=\"").append(type).append("\"");
  if (sentence.empty()) return text + "/>\n";
  return text.append(">").append(Documentation(sentence)).append("</xs:element>\n");
}

std::string All(std::string_view elements) {
  std::string text = "<xs:complexType>";
  if (!elements.empty()) text.append("<xs:all>\n").append(elements).append("</xs:all>");
  return text.append("<xs:anyAttribute processContents=\"skip\"/></xs:complexType>");
}

}  // namespace OrvWorkFlow::Program::Xsd
