#include "host/state/AttemptRecord.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>

namespace OrvWorkFlow::Host {

namespace {

constexpr std::size_t kTextSize = 1900;
constexpr std::array<char, 8> kMagic = {'o', 'r', 'v', 't', 'r', 'y', '0', '1'};

// A delivery: three zero-terminated texts and its number.
struct Entry {
  std::uint32_t number;
  std::array<char, kTextSize> texts;
};

// Cuts the next text off; false at the end of the room.
bool TakeText(std::string_view& room, std::string& text) {
  const std::size_t end = room.find('\0');
  if (end == std::string_view::npos) return false;
  text = room.substr(0, end);
  room.remove_prefix(end + 1);
  return true;
}

bool Read(const Entry& entry, AttemptRecord::Suspect& delivery) {
  delivery.number = entry.number;
  std::string_view room(entry.texts.data(), entry.texts.size());
  return TakeText(room, delivery.name.type) && TakeText(room, delivery.name.instance) &&
         TakeText(room, delivery.name.signal);
}

std::size_t HashOf(std::string_view type, std::string_view instance, std::string_view signal) {
  constexpr std::size_t kFactor = 0x9E3779B1u;
  const std::hash<std::string_view> hash;
  return (hash(type) * kFactor + hash(instance)) * kFactor + hash(signal);
}

}  // namespace

struct AttemptRecord::Page {
  std::array<char, 8> magic;
  std::uint32_t deaths;  // in `last`, running
  Entry last;
  std::atomic<std::uint32_t> at_work;  // whether a process that died now would have died in `current`
  Entry current;
};

AttemptRecord::AttemptRecord(const std::string& file) : page_(file) {
  static_assert(sizeof(Page) <= MappedPage::kSize);
  if (page() != nullptr) TakeOver();
}

AttemptRecord::Page* AttemptRecord::page() const { return static_cast<Page*>(page_.data()); }

void AttemptRecord::TakeOver() {
  Page& page = *this->page();
  const bool is_record = page.magic == kMagic;
  Suspect died;
  if (is_record && page.at_work == 1 && Read(page.current, died)) {
    const bool again = Read(page.last, last_) && last_.name == died.name && last_.number == died.number;
    deaths_ = again ? page.deaths + 1 : 1;
    last_ = died;
    page.last = page.current;
  }
  page.magic = kMagic;
  page.deaths = deaths_;
  page.at_work = 0;
}

void AttemptRecord::Begun(std::string_view type, std::string_view instance, std::string_view signal) {
  if (page() != nullptr) Write(type, instance, signal, ++numbers_[HashOf(type, instance, signal)]);
}

void AttemptRecord::BackTo(const DeliveryName& name) {
  if (page() != nullptr) {
    Write(name.type, name.instance, name.signal, numbers_[HashOf(name.type, name.instance, name.signal)]);
  }
}

// A name that is too long is not recorded.
void AttemptRecord::Write(std::string_view type, std::string_view instance, std::string_view signal,
                          std::uint32_t number) {
  Page& page = *this->page();
  page.at_work = 0;
  if (type.size() + instance.size() + signal.size() + 3 > kTextSize) return;
  page.current.number = number;
  char* end = page.current.texts.data();
  for (const std::string_view text : {type, instance, signal}) {
    end = std::copy(text.begin(), text.end(), end);
    *end++ = '\0';
  }
  page.at_work = 1;
}

void AttemptRecord::Ended() {
  if (page() != nullptr) page()->at_work = 0;
}

void AttemptRecord::Saved() {
  numbers_.clear();
  deaths_ = 0;
  if (page() != nullptr) page()->deaths = 0;
}

void AttemptRecord::Renumber(const std::string& file, bool has_progress) {
  const MappedPage mapped(file);
  auto* const page = static_cast<Page*>(mapped.data());
  if (page == nullptr || page->magic != kMagic) return;
  page->current.number = 1;
  if (has_progress) page->deaths = 0;
  page->last.number = has_progress ? 0 : 1;
}

std::optional<DeliveryName> AttemptRecord::ReadKnownDeath(const std::string& file) {
  const MappedPage mapped(file);
  const auto* const page = static_cast<const Page*>(mapped.data());
  Suspect died;
  if (page == nullptr || page->magic != kMagic || !Read(page->last, died)) return {};
  return died.name;
}

}  // namespace OrvWorkFlow::Host
