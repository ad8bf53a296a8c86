#include "SlowModel.h"

#include <cstring>

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

bool SlowModel::IsSpace(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0'; }

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

std::string SlowModel::DropAttribute(const std::string& text, const std::string& name) {
  Pairs pairs = ParseAttributes(text);
  for (auto pair = pairs.begin(); pair != pairs.end(); ++pair) {
    if (pair->first != name) continue;
    pairs.erase(pair);
    break;
  }
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

bool SlowModel::RemoveAttribute(const std::string& path, const std::string& name) {
  std::string value;
  if (!IsValid(Split(path)) || !GetAttribute(path, name, value)) return false;
  Element& element = *Find(Split(path));
  element.attributes = DropAttribute(element.attributes, name);
  return true;
}

bool SlowModel::GetAttributeNames(const std::string& path, Strings& names) const {
  const Element* const element = Find(Split(path));
  if (element == nullptr) return false;
  names.clear();
  for (const auto& pair : ParseAttributes(element->attributes)) names.push_back(pair.first);
  return true;
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

std::string SlowModel::Dump() const {
  std::string output;
  if (root_ != nullptr) DumpElement(*root_, output);
  return output;
}

std::size_t SlowModel::Size() const { return root_ == nullptr ? 0 : CountElements(*root_); }

std::size_t SlowModel::CountElements(const Element& element) {
  std::size_t count = 1;
  for (const auto& child : element.children) count += CountElements(*child);
  return count;
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

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
