#include "tests/program/support/RandomDictionary.h"

#include <algorithm>

namespace orv_test {
namespace {

constexpr unsigned kMostDepth = 3;
const char* const kNames[] = {"a", "b", "c", "d-e", "F_g", "h1", "WorkFlowEngine", "maps"};
const char* const kTags[] = {"str", "UStr", "int", "dbl", "Bool", "strlist", "UStrLst", "intlist", ""};
const char* const kHostile[] = {"<",  ">",         "&",     "\"",    "'",        "\n",          "\r\n", "\t",
                                " ",  "-->",       "&#10;", "&amp;", "</a>",     "<!--x-->",    "]]>",  "\x07",
                                "--", "&#38;#65;", "/>",    "=",     "\xC3\xA4", "<<<<<<< a\n", "\\",   "&#x41;"};

std::string PlainText(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else {
      result += c;
    }
  }
  return result;
}

std::string Quoted(const std::string& value) {
  const char quote = value.find('"') == std::string::npos ? '"' : '\'';
  return quote + value + quote;
}

void AppendPlainly(const Entry& entry, bool is_root, std::string& text) {
  text += "<" + entry.name;
  if (is_root) text += " IDictionaryFileVersion=\"2.0.0.0\"";
  if (!entry.tag.empty()) text += " __type=\"" + entry.tag + "\"";
  for (const auto& [name, value] : entry.attributes) text += " " + name + "=" + PlainText(Quoted(value));
  text += ">";
  if (IsListTag(entry.tag)) {
    text += "<__ListEntries>";
    for (std::size_t i = 0; i < entry.texts.size(); ++i) {
      const std::string name = "__item" + std::to_string(i);
      text += "<" + name + ">" + PlainText(entry.texts[i]) + "</" + name + ">";
    }
    text += "</__ListEntries>";
  } else if (!entry.texts.empty()) {
    text += PlainText(entry.texts.front());
  }
  for (const Entry& child : entry.entries) AppendPlainly(child, false, text);
  text += "</" + entry.name + ">";
}

}  // namespace

bool IsListTag(const std::string& tag) { return tag == "strlist" || tag == "UStrLst" || tag == "intlist"; }

Entry RandomDictionary::Make() {
  Entry root{"IDictionaryRoot", "", {}, {}, {}};
  Fill(root, 0);
  return root;
}

std::string RandomDictionary::Text(bool is_hostile) {
  std::string text;
  for (unsigned i = Below(5); i > 0; --i) {
    text += is_hostile && Below(2) == 0 ? kHostile[Below(std::size(kHostile))] : std::string(1, char('a' + Below(26)));
  }
  return text;
}

void RandomDictionary::GiveValue(Entry& entry) {
  entry.tag = kTags[Below(std::size(kTags))];
  entry.texts.clear();
  if (entry.tag.empty()) return;
  const auto text = [&]() -> std::string {
    if (entry.tag == "int" || entry.tag == "intlist") return std::to_string(Below(20));
    if (entry.tag == "dbl") return std::to_string(Below(20)) + ".500000";
    if (entry.tag == "Bool") return Below(2) == 0 ? "0" : "1";
    return Text(true);
  };
  if (!IsListTag(entry.tag)) {
    entry.texts.push_back(text());
    return;
  }
  for (unsigned i = Below(13); i > 0; --i) {
    std::string item = text();
    const std::size_t first = item.find_first_not_of(" \t\n\v\f\r");
    const std::size_t last = item.find_last_not_of(" \t\n\v\f\r");
    entry.texts.push_back(first == std::string::npos ? "" : item.substr(first, last + 1 - first));
  }
}

void RandomDictionary::Fill(Entry& entry, unsigned depth) {
  if (depth > 0) GiveValue(entry);
  for (unsigned i = depth > 0 ? Below(4) : 0; i > 1; --i) {
    std::string value = Text(true);
    // One with both kinds of quotes cannot be written, and one quote alone opens what nothing closes.
    std::erase(value, '"');
    entry.attributes[i == 2 ? "note" : "Zeta"] = value;
  }
  if (depth == kMostDepth) return;
  for (const char* const name : kNames) {
    if (Below(3) != 0) continue;
    entry.entries.push_back({name, "", {}, {}, {}});
    Fill(entry.entries.back(), depth + 1);
  }
  std::sort(entry.entries.begin(), entry.entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
}

void RandomDictionary::Change(Entry& root, unsigned changes) {
  for (; changes > 0; --changes) {
    Entry* at = &root;
    while (!at->entries.empty() && Below(3) != 0) at = &at->entries[Below(static_cast<unsigned>(at->entries.size()))];
    const unsigned kind = Below(4);
    if (kind == 0 && at != &root) {
      GiveValue(*at);
    } else if (kind == 1 && at != &root) {
      at->attributes["note"] = std::to_string(Below(3));
    } else if (kind == 2 && !at->entries.empty()) {
      at->entries.erase(at->entries.begin() +
                        static_cast<std::ptrdiff_t>(Below(static_cast<unsigned>(at->entries.size()))));
    } else {
      const std::string name = kNames[Below(std::size(kNames))];
      const auto place =
          std::lower_bound(at->entries.begin(), at->entries.end(), name,
                           [](const Entry& entry, const std::string& text) { return entry.name < text; });
      if (place == at->entries.end() || place->name != name) {
        Fill(*at->entries.insert(place, {name, "", {}, {}, {}}), kMostDepth - 1);
      }
    }
  }
}

std::string RandomDictionary::Blanks() {
  static const char* const kSome[] = {"", "", " ", "\n", "\r\n\t", "\n\n  "};
  return kSome[Below(std::size(kSome))];
}

void RandomDictionary::Remark(std::string& text, int* remarks) {
  if (remarks == nullptr || Below(6) != 0) return;
  static const char* const kKinds[] = {" > ", " <a> ", "\n two lines \r\n", " - -> ", ""};
  text += "<!-- remark " + std::to_string(++*remarks) + "." + kKinds[Below(std::size(kKinds))] + "-->";
}

std::string RandomDictionary::SpellText(const std::string& text, bool in_attributes) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool is_number = Below(4) == 0 && byte < 0x80;
    if (c == '&' && !is_number) {
      result += "&amp;";
    } else if (c == '<' && !is_number) {
      result += "&lt;";
    } else if (c == '>' && !is_number) {
      result += "&gt;";
    } else if (is_number && c != '&' && c != '#' && c != ';' && !(c >= '0' && c <= '9') &&
               !(in_attributes && (c == '"' || c == '\''))) {
      result += "&#" + std::to_string(byte) + ";";
    } else if (c == '&') {
      result += "&amp;";
    } else {
      result += c;
    }
  }
  return result;
}

std::string RandomDictionary::SpellAttributes(const Entry& entry) {
  std::vector<std::string> pairs;
  if (!entry.tag.empty())
    pairs.push_back(Below(2) == 0 ? "__type=\"" + entry.tag + "\"" : "__type='" + entry.tag + "'");
  for (const auto& [name, value] : entry.attributes) {
    const bool takes_apostrophe = value.find('\'') == std::string::npos && Below(2) == 0;
    pairs.push_back(name + "=" + (takes_apostrophe ? "'" : "\"") + SpellText(value, true) +
                    (takes_apostrophe ? "'" : "\""));
  }
  std::shuffle(pairs.begin(), pairs.end(), random_);
  std::string text;
  for (const std::string& pair : pairs) text += (Below(3) == 0 ? "\n   " : " ") + pair;
  return text;
}

void RandomDictionary::SpellList(const Entry& entry, std::string& text, int* remarks) {
  std::vector<std::string> items;
  for (std::size_t i = 0; i < entry.texts.size(); ++i) {
    const std::string name = "__item" + std::to_string(i);
    items.push_back("<" + name + ">" + Blanks() + SpellText(entry.texts[i], false) + Blanks() + "</" + name + ">");
  }
  std::shuffle(items.begin(), items.end(), random_);
  text += "<__ListEntries>" + Blanks();
  for (const std::string& item : items) {
    Remark(text, remarks);
    text += item + Blanks();
  }
  Remark(text, remarks);
  text += "</__ListEntries>";
}

void RandomDictionary::SpellEntry(const Entry& entry, std::string& text, int* remarks) {
  const bool is_scalar = !entry.tag.empty() && !IsListTag(entry.tag);
  const std::string attributes = SpellAttributes(entry);
  text += "<" + entry.name + attributes;
  const bool is_empty = entry.entries.empty() && !IsListTag(entry.tag) && (entry.texts.empty() || entry.texts[0] == "");
  if (is_empty && Below(2) == 0) {
    text += "/>";
    return;
  }
  text += ">";
  if (is_scalar) {
    text += SpellText(entry.texts.front(), false);
    Remark(text, remarks);
  } else {
    text += Blanks();
  }
  if (IsListTag(entry.tag)) SpellList(entry, text, remarks);
  for (const Entry& child : entry.entries) {
    const bool is_first = &child == &entry.entries.front() && !IsListTag(entry.tag);
    if (!is_scalar || !is_first) text += Blanks();
    Remark(text, remarks);
    if (!is_scalar || !is_first) text += Blanks();
    SpellEntry(child, text, remarks);
  }
  if (!is_scalar || !entry.entries.empty()) text += Blanks();
  if (!is_scalar) Remark(text, remarks);
  text += "</" + entry.name + ">";
}

std::string RandomDictionary::Spell(const Entry& root, int* remarks) {
  std::string text = Below(2) == 0 ? "<?xml version='1.0'?>\n" : "";
  text += Blanks();
  SpellEntry(root, text, remarks);
  const std::size_t name_end = text.find("<IDictionaryRoot") + std::string("<IDictionaryRoot").size();
  return text.insert(name_end, " IDictionaryFileVersion=\"2.0.0.0\"") + Blanks();
}

std::string RandomDictionary::SpellPlainly(const Entry& root) {
  std::string text;
  AppendPlainly(root, true, text);
  return text;
}

}  // namespace orv_test
