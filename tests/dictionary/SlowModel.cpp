#include "SlowModel.h"

#include <cstring>

namespace OrvWorkFlow::DictionaryTesting {
namespace {

bool IsSpace(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0'; }

std::string Trim(std::string text) {
  while (!text.empty() && IsSpace(text.front())) text.erase(0, 1);
  while (!text.empty() && IsSpace(text.back())) text.pop_back();
  return text;
}

std::string ReplaceAll(const std::string& text, const std::string& from, const std::string& to) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    if (text.compare(i, from.size(), from) == 0) {
      result += to;
      i += from.size();
    } else {
      result += text[i++];
    }
  }
  return result;
}

std::string Escape(std::string text) {
  text = ReplaceAll(text, "&", "&amp;");
  text = ReplaceAll(text, "<", "&lt;");
  text = ReplaceAll(text, ">", "&gt;");
  for (char& c : text) {
    const bool is_control = (c >= 1 && c <= 8) || c == 0x0B || c == 0x0C || (c >= 0x0E && c <= 0x1F);
    if (is_control) c = '?';
  }
  return text;
}

std::string Unescape(std::string text, bool in_attributes) {
  if (text.find('&') == std::string::npos) return text;
  text = ReplaceAll(text, "&lt;", "<");
  text = ReplaceAll(text, "&gt;", ">");
  text = ReplaceAll(text, "&apos;", "'");
  text = ReplaceAll(text, "&quot;", in_attributes ? "'" : "\"");
  if (text.find("&#") != std::string::npos) {
    for (int n = 1; n <= 255; ++n) {
      const char byte = in_attributes && n == 34 ? '\'' : static_cast<char>(n);
      text = ReplaceAll(text, "&#" + std::to_string(n) + ";", std::string(1, byte));
    }
  }
  return ReplaceAll(text, "&amp;", "&");
}

}  // namespace

// One character at a time with one character of push-back; throws `false` where the input fails.
class SlowModel::Reader {
 public:
  Reader(const std::string& input, SlowModel& model) : input_(input), model_(model) {}

  bool Read() {
    try {
      for (;;) {
        while (Get() != '<') {
        }
        const int next = Get();
        if (next != '?' && next != '!') {
          --at_;
          --at_;
          ReadElement();
          return true;
        }
        while (Get() != '>') {
        }
      }
    } catch (const bool&) {
      return false;
    }
  }

 private:
  int Get() {
    if (at_ >= input_.size()) throw false;
    return static_cast<unsigned char>(input_[at_++]);
  }
  char GetChar() { return static_cast<char>(Get()); }

  // False for a comment, which yields nothing. Begins at the "<".
  bool ReadElement() {
    Get();
    std::string name;
    char c = GetChar();
    if (c == '!') {
      SkipComment();
      return false;
    }
    for (; c != '>' && c != '/' && !IsSpace(c); c = GetChar()) name += c;
    if (name.empty()) throw false;
    path_.push_back(name);
    std::string attributes;
    if (c == '/') {
      while (GetChar() != '>') {
      }
      return Finish("", "");
    }
    while (IsSpace(c)) c = GetChar();
    for (bool quoted = false; quoted || c != '>'; c = GetChar()) {
      if (c == '"') quoted = !quoted;
      if (c == '/' && !quoted && at_ < input_.size() && input_[at_] == '>') {
        GetChar();
        return Finish("", attributes);
      }
      attributes += c;
    }
    return ReadContent(attributes);
  }

  void SkipComment() {
    for (int dashes = 0;;) {
      const char c = GetChar();
      if (c == '>' && dashes >= 2) return;
      dashes = c == '-' ? dashes + 1 : 0;
    }
  }

  bool ReadContent(const std::string& attributes) {
    std::string text;
    std::string pending;
    bool has_child = false;
    for (;;) {
      const char c = GetChar();
      if (c != '<') {
        if (!has_child) {
          text += c;
        } else if (!pending.empty() || !IsSpace(c)) {
          pending += c;
        }
        continue;
      }
      text += Trim(pending);
      pending.clear();
      if (GetChar() == '/') break;
      at_ -= 2;
      if (ReadElement()) has_child = true;
    }
    while (GetChar() != '>') {
    }
    return Finish(text, attributes);
  }

  bool Finish(const std::string& raw_text, const std::string& raw_attributes) {
    const std::string attributes = Unescape(raw_attributes, true);
    std::string text = Unescape(raw_text, false);
    if (attributes.empty()) text = Trim(text);
    model_.SetContent(path_, text, attributes);
    path_.pop_back();
    return true;
  }

  const std::string& input_;
  SlowModel& model_;
  std::size_t at_ = 0;
  Strings path_;
};

SlowModel::Strings SlowModel::Split(const std::string& path) {
  Strings components = {"IDictionaryRoot"};
  std::string component;
  for (const char c : path + "/") {
    if (c != '/') {
      component += c;
    } else if (!component.empty()) {
      components.push_back(std::exchange(component, ""));
    }
  }
  return components;
}

bool SlowModel::IsValid(const Strings& components) {
  const std::string valid = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  for (const std::string& component : components) {
    if (component.find_first_not_of(valid) != std::string::npos) return false;
  }
  return true;
}

SlowModel::Pairs SlowModel::ParseAttributes(const std::string& text) {
  Pairs pairs;
  for (std::size_t at = 0;;) {
    while (at < text.size() && IsSpace(text[at])) ++at;
    std::string name;
    while (at < text.size() && text[at] != '=') name += text[at++];
    while (at < text.size() && text[at] != '"' && text[at] != '\'') ++at;
    if (at >= text.size()) return pairs;
    const char quote = text[at++];
    std::string value;
    while (at < text.size() && text[at] != quote) value += text[at++];
    if (at >= text.size()) return pairs;
    ++at;
    if (!name.empty()) pairs.emplace_back(name, value);
  }
}

std::string SlowModel::JoinAttributes(const Pairs& pairs) {
  std::string text;
  for (const auto& [name, value] : pairs) {
    const std::string quote = value.find('"') == std::string::npos ? "\"" : "'";
    text += (text.empty() ? "" : " ") + name + "=" + quote + value + quote;
  }
  return text;
}

std::string SlowModel::ChangeAttribute(const std::string& text, const std::string& name, const std::string& value) {
  Pairs pairs = ParseAttributes(text);
  for (auto& [old_name, old_value] : pairs) {
    if (old_name == name) {
      old_value = value;
      return JoinAttributes(pairs);
    }
  }
  pairs.emplace_back(name, value);
  return JoinAttributes(pairs);
}

ValueType SlowModel::TypeOf(const Element& element) {
  static const std::map<std::string, int> kCodes = {
      {"str", 0},    {"Str", 0},        {"UStr", 1},    {"int", 2},     {"Int", 2},     {"dbl", 3},
      {"Dbl", 3},    {"Bool", 4},       {"strlist", 5}, {"StrLst", 5},  {"UStrLst", 6}, {"intlist", 7},
      {"IntLst", 7}, {"doublelist", 8}, {"DblLst", 8},  {"BoolLst", 9}, {"Binary", 10}};
  for (const auto& [name, value] : ParseAttributes(element.attributes)) {
    if (name != "__type") continue;
    const auto code = kCodes.find(value);
    return code == kCodes.end() ? ValueType::Nil : static_cast<ValueType>(code->second);
  }
  return ValueType::Nil;
}

SlowModel::Element* SlowModel::Find(const Strings& components) const {
  if (root_ == nullptr || root_->name != components.front()) return nullptr;
  Element* at = root_.get();
  for (std::size_t i = 1; i < components.size(); ++i) {
    Element* next = nullptr;
    for (const auto& child : at->children) {
      if (child->name == components[i] && next == nullptr) next = child.get();
    }
    if (next == nullptr) return nullptr;
    at = next;
  }
  return at;
}

SlowModel::Element* SlowModel::Ensure(const Strings& components) {
  if (root_ == nullptr) root_ = std::make_unique<Element>(Element{components.front(), "", "", {}});
  if (root_->name != components.front()) return nullptr;
  Strings path = {components.front()};
  for (std::size_t i = 1; i < components.size(); ++i) {
    Element* parent = Find(path);
    path.push_back(components[i]);
    if (Find(path) == nullptr)
      parent->children.push_back(std::make_unique<Element>(Element{components[i], "", "", {}}));
  }
  return Find(components);
}

bool SlowModel::SetContent(const Strings& components, const std::string& text, const std::string& attributes) {
  Element* element = Ensure(components);
  if (element == nullptr) return false;
  element->text = text;
  element->attributes = attributes;
  return true;
}

bool SlowModel::SetText(const std::string& path, const std::string& tag, const std::string& text) {
  const Strings components = Split(path);
  const Element* old = Find(components);
  if (!IsValid(components)) return false;
  return SetContent(components, text, ChangeAttribute(old == nullptr ? "" : old->attributes, "__type", tag));
}

bool SlowModel::SetList(const std::string& path, const std::string& tag, const Strings& items) {
  if (!SetText(path, tag, "")) return false;
  Delete(path + "/__ListEntries");
  Ensure(Split(path + "/__ListEntries"));
  for (std::size_t i = 0; i < items.size(); ++i) {
    SetContent(Split(path + "/__ListEntries/__item" + std::to_string(i)), items[i], "");
  }
  return true;
}

bool SlowModel::GetText(const std::string& path, ValueType type, std::string& text) const {
  const Element* element = Find(Split(path));
  if (element == nullptr || TypeOf(*element) != type) return false;
  text = element->text;
  return true;
}

bool SlowModel::GetList(const std::string& path, ValueType type, Strings& items) const {
  const Element* element = Find(Split(path));
  if (element == nullptr || TypeOf(*element) != type) return false;
  items.clear();
  for (int i = 0;; ++i) {
    const Element* item = Find(Split(path + "/__ListEntries/__item" + std::to_string(i)));
    if (item == nullptr) return true;
    items.push_back(item->text);
  }
}

ValueType SlowModel::GetType(const std::string& path) const {
  const Element* element = Find(Split(path));
  return element == nullptr ? ValueType::Nil : TypeOf(*element);
}

bool SlowModel::SetAttribute(const std::string& path, const std::string& name, const std::string& value) {
  const Strings components = Split(path);
  if (!IsValid(components)) return false;
  Element* element = Ensure(components);
  if (element == nullptr) return false;
  element->attributes = ChangeAttribute(element->attributes, name, value);
  return true;
}

bool SlowModel::GetAttribute(const std::string& path, const std::string& name, std::string& value) const {
  const Element* element = Find(Split(path));
  if (element == nullptr) return false;
  for (const auto& [found, text] : ParseAttributes(element->attributes)) {
    if (found != name) continue;
    value = text;
    return true;
  }
  return false;
}

bool SlowModel::Exists(const std::string& path) const { return Find(Split(path)) != nullptr; }

bool SlowModel::Delete(const std::string& path) {
  Strings components = Split(path);
  const Element* element = IsValid(components) ? Find(components) : nullptr;
  if (element == nullptr) return false;
  if (components.size() == 1) {
    root_.reset();
    return true;
  }
  components.pop_back();
  auto& children = Find(components)->children;
  std::erase_if(children, [element](const auto& child) { return child.get() == element; });
  return true;
}

bool SlowModel::GetEntries(const std::string& path, Strings& names) const {
  const Element* element = Find(Split(path));
  if (element == nullptr) return false;
  names.clear();
  for (const auto& child : element->children) {
    if (child->name != "__ListEntries") names.push_back(child->name);
  }
  return true;
}

bool SlowModel::EnumeratePaths(const std::string& path, Strings& paths) const {
  Strings names;
  if (!GetEntries(path, names)) return false;
  paths.push_back(path);
  for (const std::string& name : names) EnumeratePaths(path + "/" + name, paths);
  return true;
}

bool SlowModel::Load(const std::string& text) {
  root_.reset();
  return Reader(text, *this).Read();
}

std::string SlowModel::Save() {
  if (Element* root = Ensure({"IDictionaryRoot"})) {
    root->attributes = ChangeAttribute(root->attributes, "IDictionaryFileVersion", "2.0.0.0");
  }
  std::string output = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";
  WriteElement(*root_, 1, output);
  return output;
}

void SlowModel::WriteElement(const Element& element, std::size_t depth, std::string& output) {
  output += "<" + element.name;
  if (!element.attributes.empty()) output += " " + Escape(element.attributes);
  output += ">" + Escape(element.text);
  const std::string line = "\r\n" + std::string(depth, '\t');
  if (!element.children.empty() && element.text.empty() && element.attributes.empty()) output += line;
  for (std::size_t i = 0; i < element.children.size(); ++i) {
    if (i > 0) output += line;
    WriteElement(*element.children[i], depth + 1, output);
  }
  if (!element.children.empty()) output += "\r\n" + std::string(depth - 1, '\t');
  output += "</" + element.name + ">";
}

std::string SlowModel::Dump() const {
  std::string output;
  if (root_ != nullptr) DumpElement(*root_, output);
  return output;
}

void SlowModel::DumpElement(const Element& element, std::string& output) {
  output += element.name;
  if (!element.attributes.empty()) output += "[" + element.attributes + "]";
  if (!element.text.empty()) output += "'" + element.text + "'";
  if (element.children.empty()) return;
  output += '(';
  for (std::size_t i = 0; i < element.children.size(); ++i) {
    if (i > 0) output += ' ';
    DumpElement(*element.children[i], output);
  }
  output += ')';
}

}  // namespace OrvWorkFlow::DictionaryTesting
