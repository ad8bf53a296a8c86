// Texts that occur again and again (element names, attribute texts), each kept once and known by a small number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace OrvWorkFlow {

// Not synchronised.
class NameTable {
 public:
  // Numbers run from 0 in the order in which the texts came.
  using Id = std::uint32_t;
  static constexpr Id kNone = 0xFFFFFFFF;

  NameTable();

  // The text's number, a new one for a new text. Throws std::bad_alloc, with the table as it was.
  Id Intern(std::string_view text);
  // kNone when the text is not there.
  Id Find(std::string_view text) const;
  // `id` must have come from this table. Valid as long as the table.
  std::string_view Text(Id id) const { return {entries_[id].text, entries_[id].length}; }
  std::size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    const char* text;
    std::uint32_t length;
  };
  struct Slot {
    std::uint32_t hash = 0;
    Id id = kNone;
  };

  std::uint32_t Hash(std::string_view text) const;
  Slot& FindSlot(std::string_view text, std::uint32_t hash);
  void Grow();
  const char* Keep(std::string_view text);

  std::uint64_t seed_;
  std::vector<Entry> entries_;
  std::vector<Slot> slots_;  // A power of two, at most two thirds full; linear probing.
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_bytes_ = nullptr;
  std::size_t free_size_ = 0;
};

}  // namespace OrvWorkFlow
