// Marshalled objects in the hands of a host or a plug-in: owned by a holder, read into the caller's own strings.
//
// Header-only, so that no type of the standard library crosses a library's border. Everything here may throw
// std::bad_alloc.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow::Sdk {

// Owns one fresh marshalled object; `Type` is its class, the constructor's argument that class's name.
template <class Type>
class MarshalledHolder {
 public:
  explicit MarshalledHolder(const char* interface_name) : object_(static_cast<Type*>(DirectGetObject(interface_name))) {
    if (object_ == nullptr) throw std::bad_alloc();
  }
  MarshalledHolder(const MarshalledHolder&) = delete;
  MarshalledHolder& operator=(const MarshalledHolder&) = delete;
  ~MarshalledHolder() { object_->Release(); }

  Type* get() const { return object_; }
  Type* operator->() const { return object_; }

 private:
  Type* object_;
};

class TextHolder : public MarshalledHolder<IOrvPString> {
 public:
  TextHolder() : MarshalledHolder("IOrvPString") {}
  std::string Text() const { return std::string(get()->GetText(), get()->GetLength()); }
};

class TextListHolder : public MarshalledHolder<IOrvPStringList> {
 public:
  TextListHolder() : MarshalledHolder("IOrvPStringList") {}
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < get()->GetCount(); ++i) texts.emplace_back(get()->GetText(i), get()->GetLength(i));
    return texts;
  }
};

class StreamHolder : public MarshalledHolder<IOrvBasicStream> {
 public:
  StreamHolder() : MarshalledHolder("IOrvBasicStream") {}
};

// The text that an operation with an output text gives, or `fallback` when it answers false:
//   const std::string name = TextFrom([&](IOrvPString* text) { return node->GetTypeName(text); });
template <class Operation>
std::string TextFrom(Operation&& operation, std::string_view fallback = {}) {
  const TextHolder holder;
  return operation(holder.get()) ? holder.Text() : std::string(fallback);
}

}  // namespace OrvWorkFlow::Sdk
