#include "dictionary/tree/NameTable.h"

#include <chrono>
#include <cstring>
#include <stdexcept>

#include "dictionary/tree/TextSize.h"
#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::size_t kFirstSlots = 32;
constexpr std::size_t kFirstBlock = 256;
constexpr std::size_t kBlockSize = std::size_t{16} * 1024;

std::uint64_t Mix(std::uint64_t value) {
  value ^= value >> 32;
  value *= 0x9E3779B97F4A7C15u;
  value ^= value >> 29;
  return value;
}

}  // namespace

// The seed differs from table to table, so that no file can be made whose names all fall on one slot.
NameTable::NameTable() : slots_(kFirstSlots) {
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  seed_ = Mix(now ^ Mix(reinterpret_cast<std::uintptr_t>(slots_.data())));
}

std::uint32_t NameTable::Hash(std::string_view text) const {
  std::uint64_t hash = seed_ ^ text.size();
  const char* bytes = text.data();
  std::size_t left = text.size();
  for (; left > 8; left -= 8, bytes += 8) hash = Mix(hash ^ LoadWord<std::uint64_t>(bytes)) + seed_;
  hash ^= LoadFew(bytes, left);
  return static_cast<std::uint32_t>(Mix(Mix(hash)));
}

// Where the text is, or the place for it.
std::size_t NameTable::FindSlot(std::string_view text, std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.id == kNone || (slot.hash == hash && SameText(Text(slot.id), text))) return at;
  }
}

NameTable::Id NameTable::Intern(std::string_view text, std::uint32_t hash) {
  std::size_t at = FindSlot(text, hash);
  if (slots_[at].id != kNone) return slots_[at].id;
  if (text.size() > kMaxTextSize || entries_.size() >= kNone - 1) throw std::length_error("name of an element");
  if (entries_.size() >= slots_.size() / 3 * 2) {
    Grow();
    at = FindSlot(text, hash);
  }
  const char* kept = text.size() > Entry::kInsideSize ? Keep(text) : nullptr;
  entries_.Add().Set(text, kept);
  slots_[at] = {hash, entries_.size() - 1};
  return slots_[at].id;
}

void NameTable::Grow() {
  std::vector<Slot, System::LargeAllocator<Slot>> larger(slots_.size() * 2);
  const std::size_t mask = larger.size() - 1;
  for (const Slot& slot : slots_) {
    if (slot.id == kNone) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].id != kNone) at = (at + 1) & mask;
    larger[at] = slot;
  }
  slots_.swap(larger);
}

// Long texts get a block of their own; short ones share.
const char* NameTable::Keep(std::string_view text) {
  if (text.size() > free_size_) {
    const std::size_t shared = blocks_.empty() ? kFirstBlock : kBlockSize;
    const bool alone = text.size() > shared / 4;
    const std::size_t size = alone ? text.size() : shared;
    blocks_.push_back(std::make_unique<char[]>(size));
    if (alone) {
      std::memcpy(blocks_.back().get(), text.data(), text.size());
      return blocks_.back().get();
    }
    free_bytes_ = blocks_.back().get();
    free_size_ = size;
  }
  char* kept = free_bytes_;
  std::memcpy(kept, text.data(), text.size());
  free_bytes_ += text.size();
  free_size_ -= text.size();
  return kept;
}

}  // namespace OrvWorkFlow::Core::Dictionary
