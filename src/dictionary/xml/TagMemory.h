// What the reader remembers of start tags: a dictionary's file repeats the same few, in the same order.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "dictionary/tree/AttributeTable.h"
#include "dictionary/tree/NameTable.h"
#include "dictionary/xml/ByteScan.h"

namespace OrvWorkFlow::Core::Dictionary {

// A start tag behind its "<": what it says, and what came after it the last time.
struct StartTag {
  const char* bytes = nullptr;  // Up to and with its ">".
  std::uint32_t size = 0;
  NameTable::Id name = NameTable::kNone;
  AttributeTable::Id attributes = AttributeTable::kEmpty;
  bool is_empty = false;  // It is the end tag, too.
  // Places in the memory.
  std::uint16_t first_child = 0;
  std::uint16_t next_sibling = 0;
};

// Keeps a limited number of tags; a guess that is wrong costs nothing but time. Not synchronised.
class TagMemory {
 public:
  using Place = std::uint16_t;

  TagMemory() : tags_(kSize) {}

  StartTag& operator[](Place place) { return tags_[place]; }

  // Whether the text begins with that very tag.
  bool IsNext(Place place, const char* at, const char* end) const {
    const StartTag& tag = tags_[place];
    if (tag.size == 0 || static_cast<std::size_t>(end - at) < tag.size) return false;
#if defined(__SSE2__)
    // A tag that is remembered stands before `at` in the same text, so as much can be read behind it.
    if (tag.size <= 32 && end - at >= 32) {
      const std::uint32_t low = SameBytes(tag.bytes, at);
      const std::uint32_t high = SameBytes(tag.bytes + 16, at + 16);
      const std::uint64_t beyond = ~std::uint64_t{0} << tag.size;
      return static_cast<std::uint32_t>(low | high << 16 | beyond) == 0xFFFFFFFF;
    }
#endif
    return std::memcmp(tag.bytes, at, tag.size) == 0;
  }

  // Forgets another tag for it, if need be.
  Place Remember(const StartTag& tag) {
    const std::uint32_t hash = (tag.name * 0x9E3779B1u) ^ (tag.attributes * 0x85EBCA6Bu);
    const auto place = static_cast<Place>(hash >> (32 - kSizeBits));
    StartTag& kept = tags_[place];
    const bool is_known = kept.name == tag.name && kept.attributes == tag.attributes;
    const Place first_child = is_known ? kept.first_child : Place{0};
    const Place next_sibling = is_known ? kept.next_sibling : Place{0};
    kept = tag;
    kept.first_child = first_child;
    kept.next_sibling = next_sibling;
    return place;
  }

 private:
  static constexpr unsigned kSizeBits = 9;
  static constexpr std::size_t kSize = std::size_t{1} << kSizeBits;

#if defined(__SSE2__)
  static std::uint32_t SameBytes(const char* one, const char* other) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(LoadSixteen(one), LoadSixteen(other))));
  }
#endif

  std::vector<StartTag> tags_;
};

}  // namespace OrvWorkFlow::Core::Dictionary
