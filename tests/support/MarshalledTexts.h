// Holders of marshalled objects for tests: made by DirectGetObject, released at the end of the scope.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/Marshaller.h"

namespace orv_test {

// Interface names, so that a holder knows what to ask for.
template <class Interface>
struct InterfaceName;
template <>
struct InterfaceName<OrvWorkFlow::IOrvPString> {
  static constexpr const char* kText = "IOrvPString";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvString> {
  static constexpr const char* kText = "IOrvString";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvPStringList> {
  static constexpr const char* kText = "IOrvPStringList";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvStringList> {
  static constexpr const char* kText = "IOrvStringList";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvIntList> {
  static constexpr const char* kText = "IOrvIntList";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvDoubleList> {
  static constexpr const char* kText = "IOrvDoubleList";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvBoolList> {
  static constexpr const char* kText = "IOrvBoolList";
};
template <>
struct InterfaceName<OrvWorkFlow::IOrvBasicStream> {
  static constexpr const char* kText = "IOrvBasicStream";
};

template <class Interface>
class Marshalled {
 public:
  Marshalled() : object_(static_cast<Interface*>(OrvWorkFlow::DirectGetObject(InterfaceName<Interface>::kText))) {}
  ~Marshalled() {
    if (object_ != nullptr) {
      object_->Release();
    }
  }
  Marshalled(const Marshalled&) = delete;
  Marshalled& operator=(const Marshalled&) = delete;

  // What to hand to an operation that fills it.
  Interface* out() const { return object_; }
  Interface* operator->() const { return object_; }

 private:
  Interface* object_;
};

// PString and WString: one text.
template <class Char, class Interface>
class MarshalledText : public Marshalled<Interface> {
 public:
  MarshalledText() = default;
  explicit MarshalledText(std::basic_string_view<Char> text) { this->out()->Assign(text.data(), text.size()); }

  std::basic_string<Char> str() const { return {this->out()->GetText(), this->out()->GetLength()}; }
};

// PStringList and WStringList: a list of texts.
template <class Char, class Interface>
class MarshalledTextList : public Marshalled<Interface> {
 public:
  MarshalledTextList() = default;
  explicit MarshalledTextList(const std::vector<std::basic_string<Char>>& items) {
    for (const std::basic_string<Char>& item : items) {
      this->out()->Add(item.data(), item.size());
    }
  }

  std::vector<std::basic_string<Char>> vec() const {
    std::vector<std::basic_string<Char>> items;
    for (std::size_t i = 0; i < this->out()->GetCount(); ++i) {
      items.emplace_back(this->out()->GetText(i), this->out()->GetLength(i));
    }
    return items;
  }
};

// IntList, DoubleList and BoolList.
template <class Item, class Interface>
class MarshalledValues : public Marshalled<Interface> {
 public:
  MarshalledValues() = default;
  explicit MarshalledValues(const std::vector<Item>& items) {
    for (const Item item : items) {
      this->out()->Add(item);
    }
  }

  std::vector<Item> vec() const {
    std::vector<Item> items;
    Item item{};
    for (std::size_t i = 0; this->out()->Get(i, &item); ++i) {
      items.push_back(item);
    }
    return items;
  }
};

using PString = MarshalledText<char, OrvWorkFlow::IOrvPString>;
using WString = MarshalledText<char16_t, OrvWorkFlow::IOrvString>;
using PStringList = MarshalledTextList<char, OrvWorkFlow::IOrvPStringList>;
using WStringList = MarshalledTextList<char16_t, OrvWorkFlow::IOrvStringList>;
using IntList = MarshalledValues<std::int32_t, OrvWorkFlow::IOrvIntList>;
using DoubleList = MarshalledValues<double, OrvWorkFlow::IOrvDoubleList>;
using BoolList = MarshalledValues<bool, OrvWorkFlow::IOrvBoolList>;

// A block of bytes, seen as a string.
class Stream : public Marshalled<OrvWorkFlow::IOrvBasicStream> {
 public:
  Stream() = default;
  explicit Stream(std::string_view bytes) { out()->Assign(bytes.data(), bytes.size()); }

  std::string bytes() const { return {static_cast<const char*>(out()->GetData()), out()->GetSize()}; }
};

}  // namespace orv_test
