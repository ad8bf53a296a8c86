// Texts that occur again and again (element names, attribute texts), each kept once and known by a small number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "dictionary/tree/StableArray.h"
#include "platform/Memory.h"

namespace OrvWorkFlow::Core::Dictionary {

// Not synchronised.
class NameTable {
 public:
  // Numbers run from 0 in the order in which the texts came.
  using Id = std::uint32_t;
  static constexpr Id kNone = 0xFFFFFFFF;

  NameTable();

  // Differs from table to table, and so from run to run.
  std::uint32_t Hash(std::string_view text) const;

  // The text's number, a new one for a new text. Throws std::bad_alloc, with the table as it was.
  Id Intern(std::string_view text) { return Intern(text, Hash(text)); }
  Id Intern(std::string_view text, std::uint32_t hash);
  // kNone when the text is not there.
  Id Find(std::string_view text) const { return Find(text, Hash(text)); }
  Id Find(std::string_view text, std::uint32_t hash) const { return slots_[FindSlot(text, hash)].id; }
  // `id` must have come from this table. Valid as long as the table.
  std::string_view Text(Id id) const { return entries_[id].text(); }
  std::size_t size() const { return entries_.size(); }

 private:
  // Short texts are inside.
  class Entry {
   public:
    static constexpr std::size_t kInsideSize = 12;

    std::string_view text() const {
      if (length_ <= kInsideSize) return {bytes_, length_};
      const char* outside = nullptr;
      std::memcpy(&outside, bytes_, sizeof outside);
      return {outside, length_};
    }
    void Set(std::string_view text, const char* outside) {
      length_ = static_cast<std::uint32_t>(text.size());
      if (text.size() > kInsideSize) {
        std::memcpy(bytes_, &outside, sizeof outside);
      } else if (!text.empty()) {
        std::memcpy(bytes_, text.data(), text.size());
      }
    }

   private:
    std::uint32_t length_ = 0;
    char bytes_[kInsideSize] = {};
  };
  struct Slot {
    std::uint32_t hash = 0;
    Id id = kNone;
  };

  std::size_t FindSlot(std::string_view text, std::uint32_t hash) const;
  void Grow();
  const char* Keep(std::string_view text);

  std::uint64_t seed_;
  StableArray<Entry, 6> entries_;
  std::vector<Slot, System::LargeAllocator<Slot>> slots_;  // A power of two, at most two thirds full; linear probing.
  std::vector<std::unique_ptr<char[]>> blocks_;            // The texts that are not inside.
  char* free_bytes_ = nullptr;
  std::size_t free_size_ = 0;
};

}  // namespace OrvWorkFlow::Core::Dictionary
