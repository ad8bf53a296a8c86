// Guarded access to marshalled objects: an exception that one throws is caught and becomes false.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/Marshaller.h"
#include "base/guard/Guarded.h"

namespace OrvWorkFlow::Core {

// The interface name under which the marshaller makes a type.
template <class T>
inline constexpr const char* kMarshalledName = nullptr;
template <>
inline constexpr const char* kMarshalledName<IOrvPString> = "IOrvPString";
template <>
inline constexpr const char* kMarshalledName<IOrvPStringList> = "IOrvPStringList";
template <>
inline constexpr const char* kMarshalledName<IOrvString> = "IOrvString";
template <>
inline constexpr const char* kMarshalledName<IOrvStringList> = "IOrvStringList";
template <>
inline constexpr const char* kMarshalledName<IOrvIntList> = "IOrvIntList";
template <>
inline constexpr const char* kMarshalledName<IOrvDoubleList> = "IOrvDoubleList";
template <>
inline constexpr const char* kMarshalledName<IOrvBoolList> = "IOrvBoolList";
template <>
inline constexpr const char* kMarshalledName<IOrvBasicStream> = "IOrvBasicStream";

// Owns one marshalled object, fetched from the host's marshaller when the holder is made. Empty when the marshaller had
// none.
template <class T>
class Marshalled {
 public:
  Marshalled() noexcept : object_(static_cast<T*>(DirectGetObject(kMarshalledName<T>))) {}
  Marshalled(Marshalled&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Marshalled& operator=(Marshalled&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Marshalled() {
    if (object_ == nullptr) return;
    try {
      object_->Release();
    } catch (...) {  // Nothing can be done for an object that refuses to go.
    }
  }

  // The raw interface, to hand on to another object's operation; null when the holder is empty.
  T* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_;
};

// Assigns a text; false for a null output and when the output refuses or throws.
template <class Char>
bool AssignText(IOrvStringOf<Char>* output, std::basic_string_view<Char> text) noexcept {
  if (output == nullptr) return false;
  return Base::Guarded([&] { return output->Assign(text.data(), text.size()); });
}
inline bool AssignText(IOrvPString* output, std::string_view text) noexcept { return AssignText<char>(output, text); }
inline bool AssignText(IOrvString* output, std::u16string_view text) noexcept {
  return AssignText<char16_t>(output, text);
}

// Reads a marshalled text back; `text` is untouched when that fails.
template <class Char>
bool ReadText(const IOrvStringOf<Char>* source, std::basic_string<Char>& text) noexcept {
  if (source == nullptr) return false;
  return Base::Guarded([&] {
    text.assign(source->GetText(), source->GetLength());
    return true;
  });
}

// Reads every element in order; `texts` is untouched when that fails.
template <class Char>
bool ReadTexts(const IOrvStringListOf<Char>* source, std::vector<std::basic_string<Char>>& texts) noexcept {
  if (source == nullptr) return false;
  return Base::Guarded([&] {
    std::vector<std::basic_string<Char>> result;
    const std::size_t count = source->GetCount();
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      const Char* text = source->GetText(i);
      if (text == nullptr) return false;
      result.emplace_back(text, source->GetLength(i));
    }
    texts = std::move(result);
    return true;
  });
}

// Replaces the content of a list by what `fill(add)` adds, which calls `add(text)` until one is refused and answers
// whether none was. When the list refuses or something throws half way it is emptied, as far as it lets itself, and the
// answer is false.
template <class Char, class Fill>
bool FillTexts(IOrvStringListOf<Char>* output, const Fill& fill) noexcept {
  if (output == nullptr) return false;
  bool done = true;
  try {
    output->Clear();
    done = fill([output](std::basic_string_view<Char> text) { return output->Add(text.data(), text.size()); });
  } catch (...) {
    done = false;
  }
  if (!done) {
    try {
      output->Clear();
    } catch (...) {  // The answer is false in any case.
    }
  }
  return done;
}

// The same with the texts of a container.
template <class Char, class Texts>
bool AssignTexts(IOrvStringListOf<Char>* output, const Texts& texts) noexcept {
  return FillTexts(output, [&texts](const auto& add) {
    for (const auto& item : texts) {
      if (!add(std::basic_string_view<Char>(item))) return false;
    }
    return true;
  });
}

// The text that `read(IOrvPString*)` fills in, for example an object's type name. False when no text could be had;
// `text` is untouched then. What `read` itself throws is caught too.
template <class Read>
bool FetchText(std::string& text, Read&& read) noexcept {
  return Base::Guarded([&] {
    Marshalled<IOrvPString> holder;
    return holder && read(holder.get()) && ReadText(holder.get(), text);
  });
}

}  // namespace OrvWorkFlow::Core
