#include "journal/RecordReader.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Journal {

namespace {

constexpr std::size_t kReadSize = 64 * 1024;
// A record's routes are numbered: more of them than a workflow of a million mappings has are no workflow's.
constexpr std::size_t kMostRoutes = std::size_t{1} << 24;

const unsigned char* Bytes(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }

std::uint64_t Unrotated(std::uint64_t cause) {
  return (cause & 1) != 0 ? SignalNumbers::kPastQueue + (cause >> 1) : cause >> 1;
}

bool HasTime(Kind kind) { return kind != Kind::RunBegun && kind != Kind::Route; }

}  // namespace

RecordReader::RecordReader(const std::string& path) : file_(path, std::ios::binary) {
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
  if (!std::equal(kMagic.begin(), kMagic.end(), Bytes(head))) return Stop(State::Unreadable, "is no record of a run");
  Decoder values(head.substr(kMagic.size()));
  const auto format = values.Fixed<std::uint32_t>();
  values.Fixed<std::uint32_t>();
  chain_ = values.Fixed<std::uint64_t>();
  if (Checksum(Bytes(head), kHeadSize - sizeof(chain_), 0) != chain_) {
    return Stop(State::Unreadable, "is a record of a run whose head is damaged");
  }
  if (format != kFormat) {
    return Stop(State::Unreadable, "is a record of format " + std::to_string(format) + ", which a newer program reads");
  }
  taken_ += kHeadSize;
  offset_ = kHeadSize;
  has_head_ = true;
  return true;
}

// No whole entry follows. A process that was killed leaves one that was being written, and zeros behind it; what was
// never written is zero.
bool RecordReader::StopAtGap() {
  // What is zero now may be written when it is read next.
  buffer_.clear();
  taken_ = 0;
  const bool is_written_behind = !IsZeroBehind(offset_ + kMostRecord);
  if (state_ == State::Unreadable) return false;
  if (!is_written_behind) return Stop(State::AtEnd, "");
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
  for (;;) {
    if (!Fill(kLengthSize)) return state_ != State::Unreadable && Stop(State::AtEnd, "");
    const auto* const length_bytes = Bytes(std::string_view(buffer_).substr(taken_));
    const std::size_t size = length_bytes[0] + (std::size_t{length_bytes[1]} << 8);
    if (size <= kCheckSize || size + kLengthSize > kMostRecord || !Fill(kLengthSize + size)) return StopAtGap();
    const std::string_view record = std::string_view(buffer_).substr(taken_ + kLengthSize, size - kCheckSize);
    Decoder check(std::string_view(buffer_).substr(taken_ + kLengthSize + record.size(), kCheckSize));
    const std::uint64_t chain = Checksum(Bytes(record), record.size(), chain_);
    if (check.Fixed<std::uint32_t>() != static_cast<std::uint32_t>(chain)) return StopAtGap();
    Event read;
    if (!Decode(record, &read)) {
      return Stop(State::Damaged, "has an entry without meaning at byte " + std::to_string(offset_));
    }
    chain_ = chain;
    taken_ += kLengthSize + size;
    offset_ += kLengthSize + size;
    if (read.kind == Kind::Route) continue;
    *event = std::move(read);
    return true;
  }
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
      numbers_ = {};
      time_ = 0;
      event->time = values.Fixed<std::uint64_t>();
      event->is_marked = values.Byte() != 0;
      event->program = values.Text();
      event->platform = values.Text();
      event->path = values.Text();
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
      event->is_marked = (route & 1) != 0;
      read_route(route >> 1);
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
      if (event->kind == Kind::DeliveryBegun) break;
      event->outcome = static_cast<IRunObserver::Outcome>(values.Byte());
      if (event->outcome != IRunObserver::Outcome::Accepted) event->text = values.Text();
      break;
    case Kind::SignalIgnored:
      event->cause = Unrotated(values.Number());
      read_route(values.Number());
      event->is_marked = values.Byte() != 0;
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

}  // namespace OrvWorkFlow::Journal
