#include "journal/RecordReader.h"

#include <algorithm>
#include <utility>

#include "journal/BootName.h"

namespace OrvWorkFlow::Journal {

namespace {

constexpr std::size_t kReadSize = 64 * 1024;
// A record's routes are numbered: more of them than a workflow of a million mappings has are no workflow's.
constexpr std::size_t kMostRoutes = std::size_t{1} << 24;

const unsigned char* Bytes(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }

std::uint64_t Unrotated(std::uint64_t cause) {
  return (cause & 1) != 0 ? SignalNumbers::kPastQueue + (cause >> 1) : cause >> 1;
}

bool HasTime(Kind kind) {
  return kind != Kind::RunBegun && kind != Kind::Route && kind != Kind::Part && kind != Kind::Change &&
         kind != Kind::ChangesLost;
}

Unit UnitOf(std::uint64_t unit) {
  if (unit == 0) return {};
  if ((unit & 1) != 0) return {Unit::Kind::Held, unit >> 1};
  return {Unit::Kind::Delivery, Unrotated(unit >> 1)};
}

bool IsLength(std::size_t size) { return size > kCheckSize && size + kLengthSize <= kMostRecord; }

}  // namespace

RecordReader::RecordReader(const std::string& path, Torn torn) : file_(path, std::ios::binary), torn_(torn) {
  if (!file_) Stop(State::Unreadable, "cannot be read");
}

// At least `wanted` bytes from the offset on, when the file has as many.
bool RecordReader::Fill(std::size_t wanted) {
  if (buffer_.size() - taken_ >= wanted) return true;
  buffer_.erase(0, taken_);
  taken_ = 0;
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset_ + buffer_.size()));
  const std::size_t old = buffer_.size();
  buffer_.resize(old + std::max(wanted, kReadSize));
  file_.read(buffer_.data() + old, static_cast<std::streamsize>(buffer_.size() - old));
  buffer_.resize(old + static_cast<std::size_t>(std::max<std::streamsize>(file_.gcount(), 0)));
  if (file_.bad()) Stop(State::Unreadable, "cannot be read any further");
  return buffer_.size() >= wanted;
}

bool RecordReader::Stop(State state, const std::string& problem) {
  state_ = state;
  problem_ = problem;
  return false;
}

bool RecordReader::ReadHead() {
  if (!Fill(kHeadSize)) return Stop(State::Unreadable, "is no record of a run");
  const std::string_view head = std::string_view(buffer_).substr(0, kHeadSize);
  // A process that was killed before it had begun.
  if (head.find_first_not_of('\0') == std::string_view::npos) {
    const bool is_empty = IsZeroBehind(0);
    if (is_empty || torn_ == Torn::IsTheEnd) {
      buffer_.clear();
      is_torn_ = !is_empty;
      return Stop(State::AtEnd, "");
    }
  }
  if (!std::equal(kMagic.begin(), kMagic.end(), Bytes(head))) return Stop(State::Unreadable, "is no record of a run");
  Decoder values(head.substr(kMagic.size()));
  const auto format = values.Fixed<std::uint32_t>();
  values.Fixed<std::uint32_t>();
  chain_ = values.Fixed<std::uint64_t>();
  if (Checksum(Bytes(head), kHeadSize - sizeof(chain_), 0) != chain_) {
    return Stop(State::Unreadable, "is a record of a run whose head is damaged");
  }
  if (format != kFormat) {
    return Stop(State::Unreadable, "is a record of format " + std::to_string(format) +
                                       (format > kFormat ? ", which a newer program reads" : ", of an older program"));
  }
  taken_ += kHeadSize;
  offset_ = kHeadSize;
  has_head_ = true;
  return true;
}

// No whole entry follows. A process that was killed leaves one that was being written, and zeros behind it; what was
// never written is zero. False when something is written behind. How long the torn one is it says itself, as the last
// that is written of it; where it does not say so it is as long as one can be.
bool RecordReader::IsAtGap() {
  const std::size_t size = LengthHere();
  const std::size_t torn = IsLength(size) ? kLengthSize + size : kMostRecord;
  // What is zero now may be written when it is read next.
  buffer_.clear();
  taken_ = 0;
  if (state_ == State::Unreadable) return true;
  const bool is_gap = IsZeroBehind(offset_ + torn);
  if (is_gap) Stop(State::AtEnd, "");
  return is_gap;
}

bool RecordReader::StopTorn() {
  is_torn_ = true;
  return Stop(State::AtEnd, "");
}

bool RecordReader::StopAtDamage() {
  if (torn_ == Torn::IsTheEnd && AreOtherBoots(boot_, NameOfBoot())) return StopTorn();
  return Stop(State::Damaged, "damaged at byte " + std::to_string(offset_) + "; what is behind that cannot be read");
}

bool RecordReader::IsZeroBehind(std::uint64_t begin) {
  std::string piece(kReadSize, '\0');
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(begin));
  while (file_) {
    file_.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    const auto count = static_cast<std::size_t>(std::max<std::streamsize>(file_.gcount(), 0));
    if (std::any_of(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count), [](char c) { return c != 0; })) {
      return false;
    }
  }
  return true;
}

bool RecordReader::Next(Event* event) {
  if (state_ == State::Damaged || state_ == State::Unreadable) return false;
  state_ = State::Reading;
  if (!has_head_ && !ReadHead()) return false;
  bool is_second_look = false;
  for (;;) {
    if (!Fill(kLengthSize)) return state_ != State::Unreadable && Stop(State::AtEnd, "");
    std::string_view values;
    std::uint64_t chain = 0;
    if (!FindEntry(&values, &chain)) {
      if (IsAtGap()) return false;
      // What is written behind was written after this one, which may be whole by now.
      if (is_second_look) return StopAtDamage();
      is_second_look = true;
      continue;
    }
    Event read;
    if (!Decode(values, &read)) {
      return Stop(State::Damaged, "has an entry without meaning at byte " + std::to_string(offset_));
    }
    const std::size_t size = kLengthSize + values.size() + kCheckSize;
    last_entry_ = {offset_, chain_};
    chain_ = chain;
    taken_ += size;
    offset_ += size;
    is_second_look = false;
    if (read.kind == Kind::Route || read.kind == Kind::Part) continue;
    parts_.clear();
    *event = std::move(read);
    return true;
  }
}

// Of the entry at the offset, as it stands in the buffer; 0 where there is none.
std::size_t RecordReader::LengthHere() const {
  if (buffer_.size() < taken_ + kLengthSize) return 0;
  Decoder length(std::string_view(buffer_).substr(taken_, kLengthSize));
  return length.Fixed<std::uint16_t>();
}

// The one at the offset, if it is whole and of the chain.
bool RecordReader::FindEntry(std::string_view* values, std::uint64_t* chain) {
  const std::size_t size = LengthHere();
  if (!IsLength(size) || !Fill(kLengthSize + size)) return false;
  const std::string_view entry = std::string_view(buffer_).substr(taken_ + kLengthSize, size);
  *values = entry.substr(0, size - kCheckSize);
  *chain = Checksum(Bytes(*values), values->size(), chain_);
  Decoder check(entry.substr(values->size()));
  return check.Fixed<std::uint32_t>() == static_cast<std::uint32_t>(*chain);
}

bool RecordReader::ResumeFrom(StateLoader& loader) {
  if (state_ == State::Unreadable || has_head_ || !ReadHead()) return false;
  PassMembers(*this, loader);
  if (loader.ok() && IsLastEntryThere()) return true;
  offset_ = 0;
  chain_ = 0;
  last_entry_ = {};
  time_ = 0;
  numbers_ = {};
  last_begun_ = 0;
  routes_.clear();
  buffer_.clear();
  taken_ = 0;
  has_head_ = false;
  state_ = State::Reading;
  return false;
}

// The chain at an entry's end stands for all that is before it.
bool RecordReader::IsLastEntryThere() {
  const std::uint64_t end = std::exchange(offset_, last_entry_.offset);
  const std::uint64_t end_chain = std::exchange(chain_, last_entry_.chain);
  buffer_.clear();
  taken_ = 0;
  std::string_view values;
  std::uint64_t chain = 0;
  if (!Fill(kLengthSize) || !FindEntry(&values, &chain) || chain != end_chain) return false;
  taken_ = kLengthSize + values.size() + kCheckSize;
  offset_ += taken_;
  chain_ = chain;
  return offset_ == end;
}

const Route* RecordReader::RouteAt(std::uint64_t number) const {
  return number < routes_.size() ? &routes_[static_cast<std::size_t>(number)] : nullptr;
}

bool RecordReader::Decode(std::string_view record, Event* event) {
  Decoder values(record);
  event->kind = static_cast<Kind>(values.Byte());
  if (HasTime(event->kind)) event->time = time_ += values.Number();
  bool has_route = true;
  const auto read_route = [&](std::uint64_t number) { has_route = (event->route = RouteAt(number)) != nullptr; };
  switch (event->kind) {
    case Kind::RunBegun:
      routes_.clear();
      parts_.clear();
      numbers_ = {};
      last_begun_ = 0;
      time_ = 0;
      event->time = values.Fixed<std::uint64_t>();
      event->is_marked = values.Byte() != 0;
      event->program = values.Text();
      event->platform = values.Text();
      event->path = values.Text();
      event->name = values.Text();
      boot_ = values.rest().empty() ? std::string_view() : values.Text();
      break;
    case Kind::Route: {
      Route route;
      for (std::string* const text : {&route.sender_type, &route.sender_instance, &route.sender_signal,
                                      &route.receiver_type, &route.receiver_instance, &route.receiver_signal}) {
        *text = values.Text();
      }
      if (routes_.size() >= kMostRoutes) return false;
      routes_.push_back(std::move(route));
      break;
    }
    case Kind::SignalQueued: {
      event->number = numbers_.Decode(values.Number());
      event->cause = Unrotated(values.Number());
      const std::uint64_t route = values.Number();
      event->is_marked = (route & kRestored) != 0;
      event->has_more = (route & kHasMore) != 0;
      read_route(route >> kRouteShift);
      if ((route & kDuring) != 0) event->during = Unrotated(values.Number());
      if ((route & kEndsUnit) != 0) DecodeEnd(values, event);
      break;
    }
    case Kind::SignalsDropped:
      event->number = numbers_.Decode(values.Number());
      event->count = values.Number();
      break;
    case Kind::DeliveryBegun:
    case Kind::DeliveryEnded:
      event->number = numbers_.Decode(values.Number());
      if (event->number >= SignalNumbers::kPastQueue) read_route(values.Number());
      if (event->kind == Kind::DeliveryBegun) {
        last_begun_ = event->number;
      } else {
        const std::uint8_t answer = values.Byte();
        event->outcome = static_cast<IRunObserver::Outcome>(answer & ~kContinues);
        if (event->outcome != IRunObserver::Outcome::Accepted) event->text = values.Text();
        event->has_continuation = (answer & kContinues) != 0;
        if (event->has_continuation) event->continuation = values.Text();
      }
      break;
    case Kind::SignalIgnored:
      event->cause = Unrotated(values.Number());
      read_route(values.Number());
      {
        const std::uint8_t marks = values.Byte();
        event->is_marked = (marks & kHasMapsKey) != 0;
        if ((marks & kIgnoredEndsUnit) != 0) DecodeEnd(values, event);
      }
      break;
    case Kind::MappingNotRead:
      event->cause = Unrotated(values.Number());
      read_route(values.Number());
      event->count = values.Number();
      event->path = values.Text();
      event->is_marked = values.Byte() != 0;
      event->text = values.Text();
      break;
    case Kind::SignalLost:
      event->cause = Unrotated(values.Number());
      read_route(values.Number());
      event->loss = static_cast<IRunObserver::LossReason>(values.Byte());
      event->count = values.Number();
      break;
    case Kind::RebootSignalFired:
      event->number = numbers_.Decode(values.Number());
      read_route(values.Number());
      break;
    case Kind::NodeMade:
      event->type = values.Text();
      event->instance = values.Text();
      break;
    case Kind::NodeDescribed: {
      event->type = values.Text();
      event->instance = values.Text();
      const std::uint8_t facts = values.Byte();
      event->describes_itself = (facts & kDescribesItself) != 0;
      event->state_in_dictionary = (facts & kStateInDictionary) != 0;
      event->acts_outside = (facts & kActsOutside) != 0;
      event->says_continuation = (facts & kSaysContinuation) != 0;
      break;
    }
    case Kind::FlowAbsorbed:
      event->unit = UnitOf(values.Number());
      event->name = values.Text();
      event->path = values.Text();
      break;
    case Kind::Part:
      parts_.append(values.rest());
      break;
    case Kind::Snapshot:
      event->before = values.Text();
      event->texts.push_back(std::move(parts_));
      parts_.clear();
      break;
    case Kind::Change:
      if (!DecodeChange(values, event)) return false;
      break;
    case Kind::ChangesLost:
    case Kind::StateSaved:
      break;
    case Kind::RunEnded:
      event->exit_code = values.Byte();
      break;
    default:
      return false;
  }
  return values.ok() && has_route;
}

void RecordReader::DecodeEnd(Decoder& values, Event* event) {
  event->held = values.Number();
  event->has_continuation = values.Byte() != 0;
  if (event->has_continuation) event->continuation = values.Text();
}

bool RecordReader::DecodeChange(Decoder& values, Event* event) {
  const std::uint8_t operation = values.Byte();
  const std::uint8_t type = values.Byte();
  event->operation = static_cast<DictionaryChange::Operation>(operation & kOperationBits);
  event->value_type = static_cast<ValueType>(type);
  if ((operation & kInLastDelivery) != 0) event->unit = {Unit::Kind::Delivery, last_begun_};
  if ((operation & kHasUnit) != 0) event->unit = UnitOf(values.Number());
  if (!values.ok() || event->operation < DictionaryChange::Operation::SetValue ||
      event->operation > DictionaryChange::Operation::EmptyPairs || event->value_type > ValueType::Nil) {
    return false;
  }
  Decoder parts(parts_);
  Decoder& texts = (operation & kIsLong) != 0 ? parts : values;
  event->path = texts.Text();
  event->other = texts.Text();
  const std::uint64_t count = texts.Number();
  // A text takes a byte at least.
  if (count > texts.rest().size()) return false;
  event->texts.reserve(static_cast<std::size_t>(count));
  for (std::uint64_t i = 0; i < count; ++i) event->texts.emplace_back(texts.Text());
  return texts.ok();
}

}  // namespace OrvWorkFlow::Journal
