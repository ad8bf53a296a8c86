#include "journal/RunRecord.h"

#include <algorithm>
#include <atomic>
#include <new>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/HostError.h"
#include "host/state/SignalRecords.h"
#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

namespace {

using Host::HostError;

constexpr std::size_t kMostNumber = 10;  // bytes
constexpr std::size_t kMostKept = std::size_t{1} << 20;

// The length last, its lower byte at the very end: a record whose length is zero is not there.
void Publish(unsigned char* record, std::size_t size) {
  std::atomic_ref(record[1]).store(static_cast<unsigned char>(size >> 8), std::memory_order_release);
  std::atomic_ref(record[0]).store(static_cast<unsigned char>(size), std::memory_order_release);
}

// 0 for none; the highest bit, of a number past the queue, is the lowest here.
std::uint64_t Rotated(std::uint64_t cause) {
  const std::uint64_t queue_part = cause & (SignalNumbers::kPastQueue - 1);
  return queue_part << 1 | (cause >= SignalNumbers::kPastQueue ? 1 : 0);
}

// What this thread does now counts with what ends later: the deliveries that it performs, the outermost first, and
// changes that are held.
struct ThreadUnits {
  static constexpr std::size_t kMostDeliveries = 32;

  // Once for all records that are told.
  void Begin(std::uint64_t number) {
    if (depth > 0 && depth <= kMostDeliveries && deliveries[depth - 1] == number) return;
    if (depth < kMostDeliveries) deliveries[depth] = number;
    ++depth;
  }
  void End(std::uint64_t number) {
    if (depth > 0 && (depth > kMostDeliveries || deliveries[depth - 1] == number)) --depth;
  }
  // Rotated; 0 for none. Below the deepest that is known.
  std::uint64_t delivery() const { return depth == 0 ? 0 : deliveries[std::min(depth, kMostDeliveries) - 1]; }

  std::size_t depth = 0;
  std::array<std::uint64_t, kMostDeliveries> deliveries{};
  // Of each record; those of a record that is gone are nobody's.
  struct Held {
    const RunRecord* record = nullptr;
    std::uint64_t number = 0;
  };
  std::array<Held, 4> held{};
};

ThreadUnits& UnitsOfThread() {
  static thread_local ThreadUnits units;
  return units;
}

// The number of the changes that this thread holds; 0 for none, and where too many records have some.
std::uint64_t HeldBy(const RunRecord* record) {
  for (const ThreadUnits::Held& held : UnitsOfThread().held) {
    if (held.record == record) return held.number;
  }
  return 0;
}
bool SetHeld(const RunRecord* record, std::uint64_t number) {
  for (ThreadUnits::Held& held : UnitsOfThread().held) {
    if (held.record != record && held.number != 0) continue;
    held = {record, number};
    return true;
  }
  return false;
}

// The unit of a change: twice a delivery's number, rotated, or twice the number of held changes and one; 0 for none.
std::uint64_t UnitOfThread(const RunRecord* record) {
  const ThreadUnits& units = UnitsOfThread();
  if (units.depth > 0) return Rotated(units.delivery()) << 1;
  const std::uint64_t held = HeldBy(record);
  return held == 0 ? 0 : (held << 1) | 1;
}

// Held changes end with a signal that this thread fires outside of deliveries.
std::uint64_t HeldEndingNow(const RunRecord* record, std::uint64_t cause) { return cause == 0 ? HeldBy(record) : 0; }

// The number of held changes, 0 for none, and a continuation, if there is one.
void EncodeEnd(Encoder& values, std::uint64_t held, const char* continuation) {
  values.Number(held);
  values.Byte(continuation != nullptr ? 1 : 0);
  if (continuation != nullptr) values.Text(continuation);
}

// What the engine, the mediator and the host write when a state is saved. It is in the record in another form.
bool IsOfSaving(const DictionaryText& path) {
  constexpr std::string_view kSaved[] = {WorkflowSchema::kSignalQueue, WorkflowSchema::kRebootSignals,
                                         Host::kFailedSignals, Host::kSetAsideSignals, Host::kRetriedSignals};
  const std::string_view text(path.data, path.size);
  return std::any_of(std::begin(kSaved), std::end(kSaved), [&](std::string_view saved) {
    return text.starts_with(saved) && (text.size() == saved.size() || text[saved.size()] == '/');
  });
}

std::uint64_t WallNanoseconds() {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
          .count());
}

}  // namespace

RunRecord::RunRecord(const std::string& path, const std::string& shown_name, Earlier earlier)
    : file_(path), earlier_(earlier) {
  if (file_.outcome() == GrowingFile::Outcome::InUse) {
    throw HostError(HostError::Kind::InUse, shown_name, "", "another run is recorded there; name another file");
  }
  std::uint64_t size = 0;
  if (file_.outcome() != GrowingFile::Outcome::Open || !file_.GetSize(&size)) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "no record can be written there: " + file_.reason());
  }
  if (size > 0 && earlier == Earlier::Kept) {
    Continue(path, shown_name, size);
  } else if (size > 0 && !file_.CutAt(0)) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "cannot be changed: " + file_.reason());
  }
  if (!MakeRoom()) {
    throw HostError(HostError::Kind::Failed, shown_name, "", "no record can be written there: " + file_.reason());
  }
  if (offset_ == 0) WriteHead();
}

// There has to be room.
void RunRecord::WriteHead() {
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
  RecordReader reader(path, RecordReader::Torn::IsTheEnd);
  Event event;
  while (reader.Next(&event)) {
  }
  is_torn_ = reader.is_torn();
  const bool is_other = is_torn_ && reader.offset() == 0;  // Nothing says that it was a record.
  if (is_other || reader.state() != RecordReader::State::AtEnd) {
    throw HostError(
        HostError::Kind::Damaged, shown_name, "",
        (is_other ? std::string("is no record of a run") : reader.problem()) + "; name another file for the record");
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
  GiveUp("the disk takes no more of it");
  return false;
}

// One from which a run goes on must not end before the run: without it the saved state counts.
void RunRecord::GiveUp(const char* problem) {
  is_on_ = false;
  problem_ = problem;
  if (earlier_ == Earlier::Kept) return;
  file_.Unmap();
  at_ = nullptr;
  room_ = 0;
  offset_ = 0;
  if (!file_.CutAt(0)) problem_ = "the disk takes no more of it, and it cannot be emptied: remove it";
}

template <class Entries>
void RunRecord::Record(const Entries& entries) noexcept {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!is_on_) return;
  try {
    entries();
  } catch (const std::bad_alloc&) {
    GiveUp("out of memory");
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
    has_snapshot_ = false;
    last_ = Clock::now();
  }
  Record([&] {
    Append(Kind::RunBegun, [&](Encoder& values) {
      values.Fixed(WallNanoseconds());
      values.Byte(note.continued ? 1 : 0);
      values.Text(note.program);
      values.Text(note.platform);
      values.Text(note.flow);
      values.Text(note.name);
      values.Text(note.boot);
    });
  });
}

void RunRecord::BeginAnew(const RunNote& note, const std::vector<IRunReport::Waiting>& waiting) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!is_on_) return;
    file_.Unmap();
    at_ = nullptr;
    room_ = 0;
    gone_ += offset_;
    offset_ = 0;
    if (!file_.CutAt(0)) return GiveUp("it cannot be emptied");
    if (!MakeRoom()) return;
    WriteHead();
    routes_.clear();
    numbers_ = {};
    last_begun_ = 0;
  }
  Begin(note);
  Record([&] {
    for (const auto& [type, instance] : private_nodes_) AppendNode(type, instance, 0);
  });
  for (const IRunReport::Waiting& signal : waiting)
    SignalQueued({signal.number, 0, signal.sender, signal.receiver, true});
}

bool RunRecord::IsExact() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return is_on_ && is_exact_;
}

RunRecord::Mark RunRecord::GetMark() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return {gone_ + offset_, ended_, is_on_};
}

std::uint64_t RunRecord::Size() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return offset_;
}

void RunRecord::Snapshot(std::string_view text, std::string_view before) {
  Record([&] {
    AppendParts(text);
    Append(Kind::Snapshot, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Text(before);
    });
    has_snapshot_ = true;
  });
}

void RunRecord::AppendParts(std::string_view texts) {
  for (; !texts.empty(); texts.remove_prefix(std::min(texts.size(), kPartSize))) {
    Append(Kind::Part, [&](Encoder& values) { values.Bytes(texts.substr(0, kPartSize)); });
  }
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

void RunRecord::Remove() {
  const std::lock_guard<std::mutex> lock(mutex_);
  is_on_ = false;
  at_ = nullptr;
  room_ = 0;
  if (file_.outcome() == GrowingFile::Outcome::Open) file_.Remove();
}

std::string RunRecord::problem() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (problem_ == nullptr) return {};
  return file_.reason().empty() ? std::string(problem_) : std::string(problem_) + " (" + file_.reason() + ")";
}

void RunRecord::SignalQueued(const QueuedSignal& signal) {
  Record([&] {
    const std::uint64_t held = HeldEndingNow(this, signal.cause);
    const std::uint32_t route = RouteOf(signal.sender, signal.receiver);
    Append(Kind::SignalQueued, [&](Encoder& values) {
      values.Number(0);  // At the moment of the entry before, near enough: asking for the time takes a third of it all.
      values.Number(numbers_.Encode(signal.number));
      values.Number(Rotated(signal.cause));
      const bool is_last = signal.more == 0;
      const bool ends_unit = is_last && (held != 0 || signal.continuation != nullptr);
      values.Number((std::uint64_t{route} << kRouteShift) | (signal.restored ? kRestored : 0) |
                    (is_last ? 0 : kHasMore) | (ends_unit ? kEndsUnit : 0) | (signal.during != 0 ? kDuring : 0));
      if (signal.during != 0) values.Number(Rotated(signal.during));
      if (ends_unit) EncodeEnd(values, held, signal.continuation);
    });
    if (held != 0 && signal.more == 0) SetHeld(this, 0);
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
      const std::uint64_t held = HeldEndingNow(this, signal.cause);
      const bool ends_unit = held != 0 || signal.continuation != nullptr;
      values.Byte(
          static_cast<std::uint8_t>((signal.has_maps_key ? kHasMapsKey : 0) | (ends_unit ? kIgnoredEndsUnit : 0)));
      if (ends_unit) EncodeEnd(values, held, signal.continuation);
      if (held != 0) SetHeld(this, 0);
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
  UnitsOfThread().Begin(delivery.number);
  Record([&] {
    last_begun_ = delivery.number;
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
  UnitsOfThread().End(delivery.number);
  Record([&] {
    const bool has_route = delivery.number >= kPastQueue;
    const std::uint32_t route = has_route ? RouteOf(delivery.sender, delivery.receiver) : 0;
    Append(Kind::DeliveryEnded, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(numbers_.Encode(delivery.number));
      if (has_route) values.Number(route);
      const bool continues = delivery.continuation != nullptr;
      values.Byte(static_cast<std::uint8_t>(static_cast<unsigned>(outcome) | (continues ? kContinues : 0)));
      if (outcome != Outcome::Accepted) values.Text(text);
      if (continues) values.Text(delivery.continuation);
    });
    ++ended_;
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

void RunRecord::NodeDescribed(const NodeFacts& node) {
  Record([&] {
    const bool is_private = !node.describes_itself || !node.state_in_dictionary;
    if (is_private) {
      is_exact_ = false;
      private_nodes_.push_back({node.type, node.instance});
    }
    AppendNode(
        node.type, node.instance,
        static_cast<std::uint8_t>((node.describes_itself ? kDescribesItself : 0) |
                                  (node.state_in_dictionary ? kStateInDictionary : 0) |
                                  (node.acts_outside ? kActsOutside : 0) | (node.continues ? kSaysContinuation : 0)));
  });
}

void RunRecord::AppendNode(std::string_view type, std::string_view instance, std::uint8_t facts) {
  Append(Kind::NodeDescribed, [&](Encoder& values) {
    values.Number(TimePassed());
    values.Text(type);
    values.Text(instance);
    values.Byte(facts);
  });
}

// Nothing that is held ends when it is held anew.
void RunRecord::ChangesHeld() {
  Record([&] {
    if (HeldBy(this) == 0 && SetHeld(this, last_held_ + 1)) ++last_held_;
  });
}

void RunRecord::FlowAbsorbed(const char* name, const char* file_path) {
  Record([&] {
    Append(Kind::FlowAbsorbed, [&](Encoder& values) {
      values.Number(TimePassed());
      values.Number(UnitOfThread(this));
      values.Text(name);
      values.Text(file_path);
    });
  });
}

void RunRecord::DictionaryChanged(const DictionaryChange& change) {
  if (IsOfSaving(change.path)) return;
  Record([&] {
    if (has_snapshot_) AppendChange(change, UnitOfThread(this));
  });
}

void RunRecord::AppendChange(const DictionaryChange& change, std::uint64_t unit) {
  std::size_t size = change.path.size + change.other.size;
  for (std::size_t i = 0; i < change.text_count; ++i) size += change.texts[i].size + kMostNumber;
  const bool is_long = size > kMostInline;
  const auto encode = [&](auto& texts) {
    texts.WholeText({change.path.data, change.path.size});
    texts.WholeText({change.other.data, change.other.size});
    texts.Number(change.text_count);
    for (std::size_t i = 0; i < change.text_count; ++i) texts.WholeText({change.texts[i].data, change.texts[i].size});
  };
  if (is_long) {
    texts_.resize(size + 3 * kMostNumber);
    Encoder texts(reinterpret_cast<unsigned char*>(texts_.data()));
    encode(texts);
    const auto* const end = reinterpret_cast<const char*>(texts.at());
    AppendParts(std::string_view(texts_.data(), static_cast<std::size_t>(end - texts_.data())));
    if (texts_.size() > kMostKept) std::string().swap(texts_);
  }
  const bool in_last = unit != 0 && unit == Rotated(last_begun_) << 1;
  Append(Kind::Change, [&](Encoder& values) {
    values.Byte(static_cast<std::uint8_t>(static_cast<unsigned>(change.operation) | (in_last ? kInLastDelivery : 0) |
                                          (unit != 0 && !in_last ? kHasUnit : 0) | (is_long ? kIsLong : 0)));
    values.Byte(static_cast<std::uint8_t>(change.type));
    if (unit != 0 && !in_last) values.Number(unit);
    if (!is_long) encode(values);
  });
}

void RunRecord::DictionaryLost() {
  Record([&] {
    is_exact_ = false;
    Append(Kind::ChangesLost, [](Encoder& /*values*/) {});
  });
}

}  // namespace OrvWorkFlow::Journal
