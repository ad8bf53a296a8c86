// What is kept of a reader's state, as bytes and back: a class names its members once, for both ways.
//
//   template <class Self, class Archive>
//   static void PassMembers(Self& self, Archive& archive) { archive(self.count_, self.names_); }
#pragma once

#include <concepts>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "journal/RecordFormat.h"

namespace OrvWorkFlow::Journal {

template <class Value>
concept ArchivedNumber = std::is_integral_v<Value> || std::is_enum_v<Value>;

template <class Value>
struct IsArchivedList : std::false_type {};
template <class Element>
struct IsArchivedList<std::vector<Element>> : std::true_type {};
template <class Element>
struct IsArchivedList<std::deque<Element>> : std::true_type {};

template <class Value>
concept ArchivedList = IsArchivedList<Value>::value;

// Names its members.
template <class Value>
concept ArchivedClass = std::is_class_v<Value> && !requires {
  typename Value::value_type;
};

class StateSaver {
 public:
  template <class... Values>
  void operator()(const Values&... values) {
    (Save(values), ...);
  }
  const std::string& bytes() const { return bytes_; }

 private:
  template <ArchivedNumber Value>
  void Save(Value value) {
    unsigned char number[10];
    Encoder encoder(number);
    encoder.Number(static_cast<std::uint64_t>(value));
    bytes_.append(reinterpret_cast<const char*>(number), static_cast<std::size_t>(encoder.at() - number));
  }
  void Save(const std::string& text) {
    Save(text.size());
    bytes_ += text;
  }
  template <ArchivedList List>
  void Save(const List& list) {
    Save(list.size());
    for (const auto& element : list) Save(element);
  }
  template <class Element>
  void Save(const std::set<Element>& elements) {
    Save(elements.size());
    for (const Element& element : elements) Save(element);
  }
  template <class Key, class Value>
  void Save(const std::map<Key, Value>& map) {
    Save(map.size());
    for (const auto& [key, value] : map) (*this)(key, value);
  }
  template <ArchivedClass Value>
  void Save(const Value& value) {
    Value::PassMembers(value, *this);
  }

  std::string bytes_;
};

// Of any bytes: where they have no meaning, `ok` is false, and what was read is not to be used.
class StateLoader {
 public:
  explicit StateLoader(std::string_view bytes) : values_(bytes) {}

  template <class... Values>
  void operator()(Values&... values) {
    (Load(values), ...);
  }
  bool ok() const { return is_sound_ && values_.ok(); }
  bool IsAtEnd() const { return ok() && values_.rest().empty(); }

 private:
  template <ArchivedNumber Value>
  void Load(Value& value) {
    value = static_cast<Value>(values_.Number());
  }
  void Load(std::string& text) { text = values_.Text(); }
  template <ArchivedList List>
  void Load(List& list) {
    list.clear();
    for (std::uint64_t count = Count(); count > 0 && ok(); --count) Load(list.emplace_back());
  }
  template <class Element>
  void Load(std::set<Element>& elements) {
    elements.clear();
    for (std::uint64_t count = Count(); count > 0 && ok(); --count) {
      Element element{};
      Load(element);
      elements.insert(elements.end(), std::move(element));
    }
  }
  template <class Key, class Value>
  void Load(std::map<Key, Value>& map) {
    map.clear();
    for (std::uint64_t count = Count(); count > 0 && ok(); --count) {
      Key key{};
      Load(key);
      Load(map.emplace_hint(map.end(), std::move(key), Value{})->second);
    }
  }
  template <ArchivedClass Value>
  void Load(Value& value) {
    Value::PassMembers(value, *this);
  }

  // An element takes a byte at least.
  std::uint64_t Count() {
    const std::uint64_t count = values_.Number();
    if (count > values_.rest().size()) is_sound_ = false;
    return is_sound_ ? count : 0;
  }

  Decoder values_;
  bool is_sound_ = true;
};

}  // namespace OrvWorkFlow::Journal
