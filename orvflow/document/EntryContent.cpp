#include "orvflow/document/EntryContent.h"

#include <algorithm>

#include "base/dictionary/ValueTags.h"
#include "orvflow/document/EntryText.h"
#include "orvflow/files/DictionaryText.h"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kMostColumns = 60;
constexpr std::size_t kMostItems = 8;
constexpr std::size_t kMostBytes = 4096;  // No more of a text is looked at: its columns are counted one by one.

std::vector<std::string> ItemsOf(const Document& document, Document::Id id) {
  std::vector<std::string> items;
  const Document::Id holder = document.Find(id, kListHolder);
  if (holder == Document::kNone) return items;
  for (;;) {
    const Document::Id item = document.Find(holder, "__item" + std::to_string(items.size()));
    if (item == Document::kNone) return items;
    items.push_back(document.at(item).text);
  }
}

std::string ShownList(const EntryValue& value) {
  std::string shown = value.tag + " [";
  for (std::size_t i = 0; i < value.texts.size(); ++i) {
    if (i > 0) shown += ", ";
    if (i == kMostItems && value.texts.size() > kMostItems + 1) {
      return shown + "... " + std::to_string(value.texts.size()) + " items]";
    }
    const bool is_text = value.tag == "strlist" || value.tag == "UStrLst";
    shown += is_text ? ShownText(value.texts[i]) : ShortenedTo(kMostColumns, Visible(value.texts[i]));
  }
  return shown + "]";
}

}  // namespace

EntryValue ValueOf(const Document& document, Document::Id id) {
  const Document::Element& element = document.at(id);
  EntryValue value;
  value.tag = AttributeOf(element.attributes, kTypeAttribute).value_or("");
  const ValueType type = Base::TypeOfTag(value.tag);
  if (type != ValueType::Nil) value.tag = Base::TagOf(type);
  if (IsList(type)) {
    value.texts = ItemsOf(document, id);
    if (!IsLayout(element)) value.tag += " " + element.text;
  } else if (type != ValueType::Nil || !IsLayout(element)) {
    value.texts.push_back(element.text);
  }
  return value;
}

EntryContent ContentOf(const Document& document, Document::Id id) {
  EntryContent content;
  content.value = ValueOf(document, id);
  for (auto& [name, text] : PairsOf(document.at(id).attributes)) {
    const bool is_version = id == Document::kRoot && name == kVersionAttribute;
    if (name != kTypeAttribute && !is_version) content.attributes.try_emplace(name, text);
  }
  return content;
}

std::vector<Document::Id> EntriesOf(const Document& document, Document::Id id) {
  std::vector<Document::Id> entries = document.at(id).children;
  std::erase_if(entries, [&](Document::Id child) { return document.at(child).name == kListHolder; });
  return entries;
}

bool HaveSameContent(const Document& first, Document::Id a, const Document& second, Document::Id b) {
  if (ContentOf(first, a) != ContentOf(second, b)) return false;
  const std::vector<Document::Id> entries = EntriesOf(first, a);
  if (entries.size() != EntriesOf(second, b).size()) return false;
  return std::all_of(entries.begin(), entries.end(), [&](Document::Id child) {
    const Document::Id other = second.Find(b, first.at(child).name);
    return other != Document::kNone && HaveSameContent(first, child, second, other);
  });
}

std::string ShownText(const std::string& text) {
  std::string escaped;
  for (const char c : text.substr(0, kMostBytes)) {
    if (c == '\\' || c == '"') escaped += '\\';
    if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\r') {
      escaped += "\\r";
    } else if (c == '\t') {
      escaped += "\\t";
    } else {
      escaped += c;
    }
  }
  const std::string shown = Visible(escaped);
  const bool is_whole = text.size() <= kMostBytes && ColumnsOf(shown) <= kMostColumns;
  std::string quoted = "\"" + ShortenedTo(kMostColumns, shown) + "\"";
  return is_whole ? quoted : quoted + " (" + std::to_string(text.size()) + " bytes)";
}

std::string ShownValue(const EntryValue& value) {
  if (value.tag.empty() && value.texts.empty()) return "no value";
  if (IsList(Base::TypeOfTag(value.tag))) return ShownList(value);
  const std::string tag = value.tag.empty() ? "no type," : Visible(value.tag);
  if (value.texts.empty()) return tag;
  const std::string& text = value.texts.front();
  const bool is_plain = value.tag == "int" || value.tag == "dbl" || value.tag == "Bool";
  if (is_plain && !text.empty() && text.find_first_not_of("+-.0123456789") == std::string::npos) {
    return tag + " " + ShortenedTo(kMostColumns, text);
  }
  return tag + " " + ShownText(text);
}

}  // namespace OrvWorkFlow::Program
