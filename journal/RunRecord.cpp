#include "journal/RunRecord.h"

#include <atomic>
#include <new>

#include "OrvWorkFlow/host/HostError.h"
#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

namespace {

using Host::HostError;

// The length last, its lower byte at the very end: a record whose length is zero is not there.
void Publish(unsigned char* record, std::size_t size) {
  std::atomic_thread_fence(std::memory_order_release);
  auto* const length = static_cast<volatile unsigned char*>(record);
  length[1] = static_cast<unsigned char>(size >> 8);
  length[0] = static_cast<unsigned char>(size);
}

// 0 for none; the highest bit, of a number past the queue, is the lowest here.
std::uint64_t Rotated(std::uint64_t cause) {
  const std::uint64_t queue_part = cause & (SignalNumbers::kPastQueue - 1);
  return queue_part << 1 | (cause >= SignalNumbers::kPastQueue ? 1 : 0);
}

std::uint64_t WallNanoseconds() {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count());
}

}  // namespace

RunRecord::RunRecord(const std::string& path, const std::string& shown_name) : file_(path) {
  if (file_.outcome() == GrowingFile::Outcome::InUse) {
    throw HostError(HostError::Kind::InUse, shown_name, "", "another run is recorded there; name another file");
  }
  std::uint64_t size = 0;
  if (file_.outcome() != GrowingFile::Outcome::Open || !file_.GetSize(&size)) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "no record can be written there: " + file_.reason());
  }
  if (size > 0) Continue(path, shown_name, size);
  if (!MakeRoom()) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "no record can be written there: " + file_.reason());
  }
  if (offset_ > 0) return;
  Encoder head(at_ + kMagic.size());
  head.Fixed(kFormat);
  head.Fixed(std::uint32_t{0});
  std::memcpy(at_, kMagic.data(), kMagic.size());
  chain_ = Checksum(at_, kHeadSize - sizeof(chain_), 0);
  head.Fixed(chain_);
  at_ += kHeadSize;
  room_ -= kHeadSize;
  offset_ = kHeadSize;
}

RunRecord::~RunRecord() {
  file_.Unmap();
  if (file_.outcome() == GrowingFile::Outcome::Open) file_.CutAt(offset_);
}

// Behind the last whole entry; what a kill left unfinished goes.
void RunRecord::Continue(const std::string& path, const std::string& shown_name, std::uint64_t size) {
  RecordReader reader(path);
  Event event;
  while (reader.Next(&event)) {
  }
  if (reader.state() != RecordReader::State::AtEnd) {
    throw HostError(HostError::Kind::Damaged, shown_name, "", reader.problem() + "; name another file for the record");
  }
  offset_ = reader.offset();
  chain_ = reader.chain();
  if (size > offset_ && !file_.CutAt(offset_)) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "cannot be changed: " + file_.reason());
  }
}

// False, with the record at its end, when there is none.
bool RunRecord::MakeRoom() {
  if (room_ >= kMostRecord) return true;
  at_ = file_.Map(offset_, &room_);
  if (at_ != nullptr) return true;
  room_ = 0;
  is_on_ = false;
  problem_ = "the disk takes no more of it";
  return false;
}

template <class Entries>
void RunRecord::Record(const Entries& entries) noexcept {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!is_on_) return;
  try {
    entries();
  } catch (const std::bad_alloc&) {
    is_on_ = false;
    problem_ = "out of memory";
  }
}

template <class Values>
void RunRecord::Append(Kind kind, const Values& values) {
  // Nothing follows what found no room: its route might be what is missing.
  if (!is_on_ || !MakeRoom()) return;
  unsigned char* const begin = at_ + kLengthSize;
  Encoder encoder(begin);
  encoder.Byte(static_cast<std::uint8_t>(kind));
  values(encoder);
  chain_ = Checksum(begin, static_cast<std::size_t>(encoder.at() - begin), chain_);
  encoder.Fixed(static_cast<std::uint32_t>(chain_));
  const auto size = static_cast<std::size_t>(encoder.at() - begin);
  Publish(at_, size);
  at_ += kLengthSize + size;
  room_ -= kLengthSize + size;
  offset_ += kLengthSize + size;
}

std::uint64_t RunRecord::TimePassed() {
  const Clock::time_point now = Clock::now();
  const auto passed = std::chrono::duration_cast<std::chrono::nanoseconds>(now - last_).count();
  last_ = now;
  return static_cast<std::uint64_t>(passed);
}

// Written once in a run, and called by its number after that.
std::uint32_t RunRecord::RouteOf(const Sender& sender, const Receiver& receiver) {
  const char* const texts[] = {sender.type,   sender.instance,   sender.signal,
                               receiver.type, receiver.instance, receiver.signal};
  route_.clear();
  for (const char* const text : texts) route_.append(text).push_back('\0');
  const auto known = routes_.find(route_);
  if (known != routes_.end()) return known->second;
  const auto number = static_cast<std::uint32_t>(routes_.size());
  routes_.emplace(route_, number);
  Append(Kind::Route, [&](Encoder& values) {
    for (const char* const text : texts) values.Text(text);
  });
  return number;
}

void RunRecord::Begin(const RunNote& note) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_on_ = true;
    last_ = Clock::now();
  }
  Record([&] {
    Append(Kind::RunBegun, [&](Encoder& values) {
      values.Fixed(WallNanoseconds());
      values.Byte(note.continued ? 1 : 0);
      values.Text(note.program);
      values.Text(note.platform);
      values.Text(note.flow);
    });
  });
}

void RunRecord::NoteSave() {
  Record([&] { Append(Kind::StateSaved, [&](Encoder& values) { values.Number(TimePassed()); }); });
}

void RunRecord::End(int exit_code) {
  Record([&] {
    Append(Kind::RunEnded, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Byte(static_cast<std::uint8_t>(exit_code));
    });
    is_on_ = false;
  });
}

std::string RunRecord::problem() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (problem_ == nullptr) return {};
  return file_.reason().empty() ? std::string(problem_) : std::string(problem_) + " (" + file_.reason() + ")";
}

void RunRecord::SignalQueued(const QueuedSignal& signal) {
  Record([&] {
    const std::uint32_t route = RouteOf(signal.sender, signal.receiver);
    Append(Kind::SignalQueued, [&](Encoder& values) {
      values.Number(0);  // At the moment of the entry before, near enough: asking for the time takes a third of it all.
      values.Number(numbers_.Encode(signal.number));
      values.Number(Rotated(signal.cause));
      values.Number((std::uint64_t{route} << 1) | (signal.restored ? 1 : 0));
    });
  });
}

void RunRecord::SignalsDropped(std::uint64_t first, std::uint64_t count) {
  Record([&] {
    Append(Kind::SignalsDropped, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(numbers_.Encode(first));
      values.Number(count);
    });
  });
}

void RunRecord::SignalIgnored(const IgnoredSignal& signal) {
  Record([&] {
    const std::uint32_t route = RouteOf(signal.sender, {});
    Append(Kind::SignalIgnored, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(Rotated(signal.cause));
      values.Number(route);
      values.Byte(signal.has_maps_key ? 1 : 0);
    });
  });
}

void RunRecord::MappingNotRead(const UnreadMapping& mapping) {
  Record([&] {
    const std::uint32_t route = RouteOf(mapping.sender, {});
    Append(Kind::MappingNotRead, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(Rotated(mapping.cause));
      values.Number(route);
      values.Number(mapping.reached);
      values.Text(mapping.path);
      values.Byte(mapping.text != nullptr ? 1 : 0);
      values.Text(mapping.text != nullptr ? mapping.text : "");
    });
  });
}

void RunRecord::SignalLost(const LostSignal& signal) {
  Record([&] {
    const std::uint32_t route = RouteOf(signal.sender, signal.receiver);
    Append(Kind::SignalLost, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(Rotated(signal.cause));
      values.Number(route);
      values.Byte(static_cast<std::uint8_t>(signal.reason));
      values.Number(signal.reached);
    });
  });
}

void RunRecord::DeliveryBegun(const Delivery& delivery) {
  Record([&] {
    // Where a signal of the queue goes was said when it was queued.
    const bool has_route = delivery.number >= kPastQueue;
    const std::uint32_t route = has_route ? RouteOf(delivery.sender, delivery.receiver) : 0;
    Append(Kind::DeliveryBegun, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(numbers_.Encode(delivery.number));
      if (has_route) values.Number(route);
    });
  });
}

void RunRecord::DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) {
  Record([&] {
    const bool has_route = delivery.number >= kPastQueue;
    const std::uint32_t route = has_route ? RouteOf(delivery.sender, delivery.receiver) : 0;
    Append(Kind::DeliveryEnded, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(numbers_.Encode(delivery.number));
      if (has_route) values.Number(route);
      values.Byte(static_cast<std::uint8_t>(outcome));
      if (outcome != Outcome::Accepted) values.Text(text);
    });
  });
}

void RunRecord::RebootSignalFired(std::uint64_t number, const Receiver& receiver) {
  Record([&] {
    const std::uint32_t route = RouteOf({}, receiver);
    Append(Kind::RebootSignalFired, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(numbers_.Encode(number));
      values.Number(route);
    });
  });
}

void RunRecord::NodeMade(const char* type, const char* instance) {
  Record([&] {
    Append(Kind::NodeMade, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Text(type);
      values.Text(instance);
    });
  });
}

}  // namespace OrvWorkFlow::Journal
