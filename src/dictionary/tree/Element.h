// One element of a tree, in 40 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "dictionary/tree/AttributeTable.h"
#include "dictionary/tree/NameTable.h"

namespace OrvWorkFlow::Core::Dictionary {

using ElementId = std::uint32_t;
inline constexpr ElementId kNoElement = 0xFFFFFFFF;

// Its text is a view of bytes that somebody else keeps, or a copy of its own, which is inside while it is short.
// Whoever drops an element clears its text first.
class Element {
 public:
  NameTable::Id name = NameTable::kNone;  // kNone marks one that is free; `next` is then the next free one.
  AttributeTable::Id attributes = AttributeTable::kEmpty;
  ElementId parent = kNoElement;
  ElementId first_child = kNoElement;
  ElementId previous = kNoElement;  // Of the first child: the last one.
  ElementId next = kNoElement;
  std::uint32_t child_count : 29 = 0;
  std::uint32_t is_indexed : 1 = 0;  // All children are in the tree's index.

 private:
  enum TextKind : std::uint32_t { kView, kOwned, kInside };
  std::uint32_t text_kind_ : 2 = kView;
  std::uint32_t text_length_ = 0;
  static constexpr std::size_t kInsideSize = 8;
  union Bytes {
    const char* outside = nullptr;
    char inside[kInsideSize];
  } text_;

 public:
  // Valid until the text changes.
  std::string_view text() const { return {text_kind_ == kInside ? text_.inside : text_.outside, text_length_}; }

  // `text` must outlive its use here. At most kMaxTextSize bytes.
  void SetTextView(std::string_view text) {
    ClearText();
    text_.outside = text.data();
    text_length_ = static_cast<std::uint32_t>(text.size());
  }

  // Throws std::bad_alloc, and std::length_error above kMaxTextSize; the old text stays then. `text` is not part of
  // this element.
  void SetTextCopy(std::string_view text) {
    if (text.size() > kInsideSize) {
      SetOwnedText(text);
      return;
    }
    ClearText();
    if (!text.empty()) std::memcpy(text_.inside, text.data(), text.size());
    text_kind_ = kInside;
    text_length_ = static_cast<std::uint32_t>(text.size());
  }

  // The other one has none afterwards.
  void TakeText(Element& other) {
    ClearText();
    text_ = other.text_;
    text_length_ = other.text_length_;
    text_kind_ = other.text_kind_;
    other.text_kind_ = kView;
    other.ClearText();
  }

  void ClearText() {
    if (text_kind_ == kOwned) delete[] text_.outside;
    text_kind_ = kView;
    text_.outside = nullptr;
    text_length_ = 0;
  }
  bool OwnsText() const { return text_kind_ == kOwned; }

 private:
  void SetOwnedText(std::string_view text);
};
static_assert(sizeof(Element) <= 40);

inline constexpr std::uint32_t kMostChildren = 0x1FFFFFFF;

}  // namespace OrvWorkFlow::Core::Dictionary
