#include "journal/SeekTable.h"

#include <algorithm>
#include <string_view>

#include "OrvWorkFlow/host/HostError.h"

namespace OrvWorkFlow::Journal {

namespace {

// A point holds a dictionary.
constexpr std::uint64_t kMostState = std::uint64_t{1} << 31;

const unsigned char* Bytes(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// That have begun in the record.
unsigned CountRuns(const std::string& record, SeekTable& table) {
  RecordReader reader(record);
  std::uint64_t runs = 0;
  std::string state;
  for (std::size_t place = table.CountPoints(); place > 0 && runs == 0; --place) {
    if (!table.Load(place - 1, &state)) continue;
    StateLoader loader(state);
    if (reader.ResumeFrom(loader)) runs = table.At(place - 1).run;
  }
  Event event;
  while (reader.Next(&event)) {
    if (event.kind == Kind::RunBegun) ++runs;
  }
  return static_cast<unsigned>(runs);
}

}  // namespace

void SeekPoint::Take(const Event& event) {
  if (event.kind == Kind::RunBegun) {
    begun = 0;
    last = 0;
    last_past_queue = 0;
    ++run;
  }
  if (event.kind == Kind::DeliveryBegun || event.kind == Kind::DeliveryEnded) begun = 1;
  if (event.kind != Kind::DeliveryEnded) return;
  std::uint64_t& highest = event.number >= SignalNumbers::kPastQueue ? last_past_queue : last;
  highest = std::max(highest, event.number);
}

bool SeekPoint::IsBefore(const Moment& moment, unsigned of_run) const {
  if (run != of_run) return run < of_run;
  switch (moment.point) {
    case Moment::Point::Start:
      return begun == 0;
    case Moment::Point::Delivery:
      return moment.number > (moment.number >= SignalNumbers::kPastQueue ? last_past_queue : last);
    case Moment::Point::End:
      break;
  }
  return true;
}

void EncodeSeekHead(const SeekPoint& point, std::uint64_t size, unsigned char* head) {
  Encoder encoder(head);
  for (const std::uint64_t number : {size, point.offset, point.run, point.begun, point.last, point.last_past_queue}) {
    encoder.Fixed(number);
  }
  encoder.Fixed(Checksum(head, static_cast<std::size_t>(encoder.at() - head), kSeekFormat));
}

SeekTable::SeekTable(const std::string& record) : file_(record + kSeekTableExtension, std::ios::binary) {
  Entry entry;
  std::uint64_t offset = 0;
  while (ReadHead(offset, &entry)) {
    if (!entries_.empty() && entry.point.offset <= entries_.back().point.offset) return;
    entries_.push_back(entry);
    offset = entry.begin + entry.size;
  }
}

bool SeekTable::ReadHead(std::uint64_t offset, Entry* entry) {
  std::string head(kSeekHeadSize, '\0');
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(offset));
  if (!file_.read(head.data(), static_cast<std::streamsize>(head.size()))) return false;
  Decoder numbers(head);
  entry->size = numbers.Fixed<std::uint64_t>();
  SeekPoint& point = entry->point;
  for (std::uint64_t* const number : {&point.offset, &point.run, &point.begun, &point.last, &point.last_past_queue}) {
    *number = numbers.Fixed<std::uint64_t>();
  }
  entry->begin = offset + kSeekHeadSize;
  return entry->size > sizeof(std::uint64_t) && entry->size <= kMostState &&
         numbers.Fixed<std::uint64_t>() == Checksum(Bytes(head), kSeekHeadSize - sizeof(std::uint64_t), kSeekFormat);
}

std::uint64_t SeekTable::EndOf(std::size_t place) const { return entries_[place].begin + entries_[place].size; }

bool SeekTable::Load(std::size_t place, std::string* state) {
  const Entry& entry = entries_[place];
  file_.clear();
  file_.seekg(0, std::ios::end);
  if (!file_ || static_cast<std::uint64_t>(file_.tellg()) < EndOf(place)) return false;
  file_.seekg(static_cast<std::streamoff>(entry.begin));
  state->resize(static_cast<std::size_t>(entry.size));
  if (!file_.read(state->data(), static_cast<std::streamsize>(entry.size))) return false;
  const std::size_t size = state->size() - sizeof(std::uint64_t);
  Decoder check(std::string_view(*state).substr(size));
  if (check.Fixed<std::uint64_t>() != Checksum(Bytes(*state), size, entry.point.offset)) return false;
  state->resize(size);
  return true;
}

unsigned SeekTo(const std::string& record, unsigned run, const std::vector<Moment>& wanted, RecordReader& reader,
                MomentSearch& search) {
  SeekTable table(record);
  if (run == 0 && table.CountPoints() > 0) run = CountRuns(record, table);
  std::string state;
  for (std::size_t place = table.CountPoints(); place > 0; --place) {
    const SeekPoint& point = table.At(place - 1);
    const bool is_before =
        std::all_of(wanted.begin(), wanted.end(), [&](const Moment& moment) { return point.IsBefore(moment, run); });
    if (!is_before || !table.Load(place - 1, &state)) continue;
    StateLoader loader(state);
    if (!reader.ResumeFrom(loader)) continue;
    if (search.ResumeFrom(loader)) return run;
    throw Host::HostError(Host::HostError::Kind::Damaged, record + kSeekTableExtension, "",
                          "holds no sense; remove it: without it the record is read from its begin");
  }
  return 0;
}

}  // namespace OrvWorkFlow::Journal
