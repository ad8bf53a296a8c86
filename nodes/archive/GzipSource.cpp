#include "nodes/archive/GzipSource.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::size_t kPackedPiece = 64 * 1024;
constexpr std::size_t kMostAtOnce = 256 * 1024;
constexpr int kGzipAlone = 15 + 16;

}  // namespace

GzipSource::GzipSource(std::unique_ptr<ByteSource> packed, std::string shown_name, StopCheck stop_wanted)
    : packed_(std::move(packed)),
      shown_name_(std::move(shown_name)),
      stop_wanted_(std::move(stop_wanted)),
      piece_(kPackedPiece) {
  if (inflateInit2(&stream_, kGzipAlone) != Z_OK) throw FileProblem(shown_name_ + ": gzip cannot be begun");
}

GzipSource::~GzipSource() { inflateEnd(&stream_); }

// False at the end of the file.
bool GzipSource::Fill() {
  if (stream_.avail_in != 0) return true;
  stream_.next_in = reinterpret_cast<Bytef*>(piece_.data());
  stream_.avail_in = static_cast<uInt>(packed_->Read(piece_.data(), piece_.size()));
  return stream_.avail_in != 0;
}

// One file may hold several, one behind the other; zeros behind the last one are padding.
bool GzipSource::NextMember() {
  while (Fill()) {
    if (*stream_.next_in != 0) {
      inflateReset(&stream_);
      in_member_ = true;
      return true;
    }
    ++stream_.next_in;
    --stream_.avail_in;
  }
  at_end_ = true;
  return false;
}

std::size_t GzipSource::Read(char* bytes, std::size_t size) {
  if (stop_wanted_()) throw ArchiveStopped();
  const auto wanted = static_cast<uInt>(std::min(size, kMostAtOnce));
  stream_.next_out = reinterpret_cast<Bytef*>(bytes);
  stream_.avail_out = wanted;
  while (!at_end_ && stream_.avail_out != 0) {
    if (!in_member_ && !NextMember()) break;
    if (!Fill()) throw FileProblem(shown_name_ + ": it is cut off");
    const int result = inflate(&stream_, Z_NO_FLUSH);
    if (result == Z_STREAM_END) {
      in_member_ = false;
    } else if (result == Z_MEM_ERROR) {
      throw FileProblem(shown_name_ + ": out of memory");
    } else if (result != Z_OK && result != Z_BUF_ERROR) {
      throw FileProblem(shown_name_ + ": it is damaged (gzip: " + (stream_.msg == nullptr ? "?" : stream_.msg) + ")");
    }
  }
  return wanted - stream_.avail_out;
}

}  // namespace OrvWorkFlow::Nodes
