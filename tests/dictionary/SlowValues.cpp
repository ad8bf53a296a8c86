// The slow model's typed values, and the redirections that they follow.
#include <cstdlib>

#include "SlowModel.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kMark[] = "_isRedirection";
constexpr int kMostHops = 16;

}  // namespace

bool SlowModel::StoreText(const std::string& path, const std::string& tag, const std::string& text) {
  const Strings components = Split(path);
  const Element* old = Find(components);
  if (!IsValid(components)) return false;
  return SetContent(components, text, ChangeAttribute(old == nullptr ? "" : old->attributes, "__type", tag));
}

bool SlowModel::StoreList(const std::string& path, const std::string& tag, const Strings& items) {
  if (!StoreText(path, tag, "")) return false;
  Delete(path + "/__ListEntries");
  Ensure(Split(path + "/__ListEntries"));
  for (std::size_t i = 0; i < items.size(); ++i) {
    SetContent(Split(path + "/__ListEntries/__item" + std::to_string(i)), items[i], "");
  }
  return true;
}

bool SlowModel::SetText(const std::string& path, const std::string& tag, const std::string& text) {
  std::string target = path;
  return IsValid(Split(path)) && FollowToWrite(target) && StoreText(target, tag, text);
}

bool SlowModel::SetList(const std::string& path, const std::string& tag, const Strings& items) {
  std::string target = path;
  return IsValid(Split(path)) && FollowToWrite(target) && StoreList(target, tag, items);
}

bool SlowModel::GetText(const std::string& path, ValueType type, std::string& text) const {
  const Element* const element = Readable(path, type);
  if (element != nullptr) text = element->text;
  return element != nullptr;
}

bool SlowModel::GetList(const std::string& path, ValueType type, Strings& items) const {
  const Element* const element = Readable(path, type);
  if (element != nullptr) items = Items(*element);
  return element != nullptr;
}

ValueType SlowModel::GetType(const std::string& path) const {
  const Element* element = Find(Split(path));
  return element == nullptr ? ValueType::Nil : TypeOf(*element);
}

bool SlowModel::GetTexts(const std::string& path, Strings& texts) const {
  const ValueType type = GetType(path);
  if (type == ValueType::Nil) return false;
  const Element& element = *Find(Split(path));
  texts = IsList(type) ? Items(element) : Strings{element.text};
  return true;
}

bool SlowModel::SetRedirection(const std::string& path, const Strings& targets) {
  return StoreList(path, "strlist", targets) && SetAttribute(path, kMark, "1");
}

bool SlowModel::IsRedirection(const std::string& path) const {
  const Element* const element = Find(Split(path));
  return element != nullptr && IsMarked(*element);
}

bool SlowModel::RemoveRedirection(const std::string& path) {
  return IsRedirection(path) && RemoveAttribute(path, kMark);
}

bool SlowModel::IsMarked(const Element& element) {
  for (const auto& [name, value] : ParseAttributes(element.attributes)) {
    if (name == kMark) return std::strtol(value.c_str(), nullptr, 10) != 0;
  }
  return false;
}

const SlowModel::Element* SlowModel::Readable(const std::string& path, ValueType type) const {
  const Element* const element = Find(Split(path));
  int hops = 0;
  return element == nullptr ? nullptr : FollowToRead(*element, type, hops);
}

// The hops are counted over all targets that are tried.
const SlowModel::Element* SlowModel::FollowToRead(const Element& element, ValueType type, int& hops) const {
  if (!IsMarked(element)) return TypeOf(element) == type ? &element : nullptr;
  if (TypeOf(element) != ValueType::StringList || ++hops > kMostHops) return nullptr;
  for (const std::string& target : Items(element)) {
    const Element* const next = Find(Split(target));
    const Element* const found = next == nullptr ? nullptr : FollowToRead(*next, type, hops);
    if (hops > kMostHops) return nullptr;
    if (found != nullptr) return found;
  }
  return nullptr;
}

bool SlowModel::FollowToWrite(std::string& path) const {
  for (int hops = 0;; ++hops) {
    const Element* const element = Find(Split(path));
    if (element == nullptr || !IsMarked(*element)) return true;
    const Strings targets = Items(*element);
    if (TypeOf(*element) != ValueType::StringList || targets.empty() || hops == kMostHops) return false;
    path = targets.front();
    for (auto target = targets.rbegin(); target != targets.rend(); ++target) {
      if (Exists(*target)) path = *target;
    }
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
