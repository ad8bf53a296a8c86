// The slow model's operations on subtrees, by plain recursion.
#include <algorithm>

#include "SlowModel.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kHolder[] = "__ListEntries";

bool StartsWith(const SlowModel::Strings& path, const SlowModel::Strings& start) {
  return path.size() >= start.size() && std::equal(start.begin(), start.end(), path.begin());
}

}  // namespace

SlowModel::Element* SlowModel::Child(const Element& parent, const std::string& name) {
  for (const auto& child : parent.children) {
    if (child->name == name) return child.get();
  }
  return nullptr;
}

SlowModel::Element SlowModel::Clone(const Element& element) {
  Element clone{element.name, element.text, element.attributes, {}};
  for (const auto& child : element.children) clone.children.push_back(std::make_unique<Element>(Clone(*child)));
  return clone;
}

// The file version is the root's alone.
SlowModel::Element SlowModel::CloneAt(const Strings& components) const {
  Element clone = Clone(*Find(components));
  if (components.size() == 1) clone.attributes = DropAttribute(clone.attributes, "IDictionaryFileVersion");
  return clone;
}

bool SlowModel::Replace(const Strings& components, Element content) {
  Element* const target = Ensure(components);
  if (target == nullptr) return false;
  content.name = target->name;
  *target = std::move(content);
  return true;
}

bool SlowModel::CopySubtree(const std::string& from, const std::string& to) {
  if (!IsValid(Split(to)) || Find(Split(from)) == nullptr) return false;
  return Split(from) == Split(to) || Replace(Split(to), CloneAt(Split(from)));
}

bool SlowModel::MoveSubtree(const std::string& from, const std::string& to) {
  if (!IsValid(Split(from)) || !IsValid(Split(to)) || Find(Split(from)) == nullptr) return false;
  if (StartsWith(Split(to), Split(from))) return Split(to) == Split(from);
  const bool is_above = StartsWith(Split(from), Split(to));
  Replace(Split(to), CloneAt(Split(from)));
  return is_above || Delete(from);
}

bool SlowModel::Rename(const std::string& path, const std::string& name) {
  Strings components = Split(path);
  const bool is_name = !name.empty() && name.find('/') == std::string::npos && IsValid({name});
  if (!is_name || !IsValid(components) || components.size() == 1 || Find(components) == nullptr) return false;
  if (components.back() == name) return true;
  Element clone = CloneAt(components);
  components.back() = name;
  if (Find(components) != nullptr) return false;
  Delete(path);
  return Replace(components, std::move(clone));
}

bool SlowModel::Clear(const std::string& path) {
  Element* const element = IsValid(Split(path)) ? Find(Split(path)) : nullptr;
  return element != nullptr && Replace(Split(path), Element{});
}

bool SlowModel::MergeSubtree(const std::string& from, const std::string& to) {
  if (!IsValid(Split(to)) || Find(Split(from)) == nullptr) return false;
  const Element source = CloneAt(Split(from));
  Merge(source, *Ensure(Split(to)));
  return true;
}

void SlowModel::Merge(const Element& source, Element& target) {
  const ValueType type = TypeOf(source);
  const ValueType old_type = TypeOf(target);
  if (type != ValueType::Nil || (old_type == ValueType::Nil && !source.text.empty())) target.text = source.text;
  // An attribute text moves as it is where there was none; a change writes the whole text anew.
  const bool is_taken = target.attributes.empty() || target.attributes == source.attributes;
  if (is_taken) target.attributes = source.attributes;
  for (const auto& [name, value] : is_taken ? Pairs() : ParseAttributes(source.attributes)) {
    const bool is_tag = name == "__type";
    const bool stays = is_tag && (type == ValueType::Nil ? old_type != ValueType::Nil : type == old_type);
    if (stays) continue;
    const bool is_own_tag = is_tag && old_type != ValueType::Nil;
    target.attributes = ChangeAttribute(target.attributes, name, is_own_tag ? TagOf(type) : value);
  }
  if (IsList(type)) {
    std::erase_if(target.children, [](const auto& child) { return child->name == kHolder; });
    target.children.push_back(std::make_unique<Element>(Element{kHolder, "", "", {}}));
    for (const std::string& item : Items(source)) {
      auto& copies = target.children.back()->children;
      copies.push_back(std::make_unique<Element>(Element{"__item" + std::to_string(copies.size()), item, "", {}}));
    }
  }
  for (const auto& child : source.children) {
    if (child->name == kHolder) continue;
    if (Child(target, child->name) == nullptr) {
      target.children.push_back(std::make_unique<Element>(Element{child->name, "", "", {}}));
    }
    Merge(*child, *Child(target, child->name));
  }
}

SlowModel::Strings SlowModel::Items(const Element& element) {
  Strings items;
  const Element* const holder = Child(element, kHolder);
  for (int i = 0; holder != nullptr; ++i) {
    const Element* const item = Child(*holder, "__item" + std::to_string(i));
    if (item == nullptr) break;
    items.push_back(item->text);
  }
  return items;
}

std::string SlowModel::TagOf(ValueType type) {
  const char* const tags[] = {"str",     "UStr",    "int",        "dbl",     "Bool",   "strlist",
                              "UStrLst", "intlist", "doublelist", "BoolLst", "Binary", "Nil"};
  return tags[static_cast<std::size_t>(type)];
}

bool SlowModel::CompareSubtrees(const std::string& path, const std::string& other_path, Strings& differences) const {
  if (Find(Split(path)) == nullptr || Find(Split(other_path)) == nullptr) return false;
  differences.clear();
  Compare(CloneAt(Split(path)), CloneAt(Split(other_path)), "", differences);
  return true;
}

void SlowModel::Compare(const Element& first, const Element& second, const std::string& path, Strings& differences) {
  const auto attributes = [](const Element& element) {
    std::map<std::string, std::string> pairs;
    for (const auto& pair : ParseAttributes(element.attributes)) pairs.insert(pair);
    if (TypeOf(element) != ValueType::Nil) pairs["__type"] = TagOf(TypeOf(element));
    return pairs;
  };
  const bool have_same_items = !IsList(TypeOf(first)) || Items(first) == Items(second);
  if (first.text != second.text || attributes(first) != attributes(second) || !have_same_items) {
    differences.push_back(path);
  }
  for (const auto& child : second.children) {
    const bool is_alone = child->name != kHolder && Child(first, child->name) == nullptr;
    if (is_alone) differences.push_back(path + "/" + child->name);
  }
  for (const auto& child : first.children) {
    if (child->name == kHolder) continue;
    const Element* const other = Child(second, child->name);
    if (other == nullptr) {
      differences.push_back(path + "/" + child->name);
    } else {
      Compare(*child, *other, path + "/" + child->name, differences);
    }
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
