#include "journal/SeekTableWriter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>

#include "journal/BackgroundThread.h"

namespace OrvWorkFlow::Journal {

namespace {

constexpr std::chrono::milliseconds kLook{200};
// So many bytes of the record stand between two points for each byte of the first: the table stays a fraction of it.
constexpr std::uint64_t kRecordToPoint = 4;

}  // namespace

SeekTableWriter::SeekTableWriter(const std::string& record, IDictionary& scratch, std::uint64_t distance)
    : record_(record), distance_(distance), view_(scratch), next_(distance) {
  // That of a record which was there under this name before.
  if (RecordSize() < distance_) std::remove((record_ + kSeekTableExtension).c_str());
}

SeekTableWriter::~SeekTableWriter() {
  if (!file_) return;
  file_->Unmap();
  file_->CutAt(end_);
}

// 0 when it is not known.
std::uint64_t SeekTableWriter::RecordSize() const {
  std::ifstream file(record_, std::ios::binary | std::ios::ate);
  return file ? static_cast<std::uint64_t>(file.tellg()) : 0;
}

// Behind the last point that fits the record; what else the table holds goes.
void SeekTableWriter::Resume() {
  SeekTable table(record_);
  reader_.emplace(record_);
  std::string state;
  for (std::size_t place = table.CountPoints(); place > 0 && end_ == 0; --place) {
    if (!table.Load(place - 1, &state)) continue;
    StateLoader loader(state);
    if (!reader_->ResumeFrom(loader)) continue;
    if (!view_.ResumeFrom(loader)) throw std::bad_alloc();
    point_ = table.At(place - 1);
    end_ = table.EndOf(place - 1);
    next_ = reader_->offset() + std::max(distance_, kRecordToPoint * state.size());
  }
}

// The file grows by whole windows: that it is long enough is looked at first, which costs nothing.
bool SeekTableWriter::CatchUp(const std::atomic<bool>& has_to_stop) {
  if (RecordSize() <= next_) return true;
  if (!reader_) Resume();
  Event event;
  while (!has_to_stop && reader_->Next(&event)) {
    if (!view_.Take(event)) return false;
    point_.Take(event);
    if (reader_->offset() >= next_ && !has_to_stop && !WritePoint()) return false;
  }
  return has_to_stop || reader_->state() == RecordReader::State::AtEnd;
}

// What cannot be brought back is left out.
bool SeekTableWriter::WritePoint() {
  point_.offset = reader_->offset();
  next_ = point_.offset + distance_;
  StateSaver saver;
  reader_->SaveTo(saver);
  if (!view_.SaveTo(saver)) return true;
  const std::string& state = saver.bytes();
  next_ = point_.offset + std::max(distance_, kRecordToPoint * state.size());
  if (!file_) {
    file_.emplace(record_ + kSeekTableExtension);
    if (file_->outcome() != GrowingFile::Outcome::Open || !file_->CutAt(end_)) return false;
  }
  unsigned char head[kSeekHeadSize];
  EncodeSeekHead(point_, state.size() + sizeof(std::uint64_t), head);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(state.data());
  unsigned char check[sizeof(std::uint64_t)];
  Encoder(check).Fixed(Checksum(bytes, state.size(), point_.offset));
  const std::uint64_t begin = end_;
  if (Append(head, sizeof(head)) && Append(bytes, state.size()) && Append(check, sizeof(check))) return true;
  end_ = begin;
  return false;
}

bool SeekTableWriter::Append(const unsigned char* bytes, std::size_t size) {
  while (size > 0) {
    if (room_ == 0) at_ = file_->Map(end_, &room_);
    if (at_ == nullptr) {
      room_ = 0;
      return false;
    }
    const std::size_t count = std::min(size, room_);
    std::memcpy(at_, bytes, count);
    at_ += count;
    room_ -= count;
    end_ += count;
    bytes += count;
    size -= count;
  }
  return true;
}

SeekTableThread::SeekTableThread(const std::string& record, IDictionary& scratch, std::uint64_t distance)
    : writer_(record, scratch, distance), thread_([this] { Run(); }) {}

SeekTableThread::~SeekTableThread() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    has_to_stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void SeekTableThread::Run() {
  RunInBackground();
  try {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!changed_.wait_for(lock, kLook, [this] { return has_to_stop_.load(); })) {
      lock.unlock();
      if (!writer_.CatchUp(has_to_stop_)) return;
      lock.lock();
    }
  } catch (...) {  // Without memory there are no more points.
  }
}

}  // namespace OrvWorkFlow::Journal
