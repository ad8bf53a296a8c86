#include "nodes/archive/LibraryArchive.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "OrvWorkFlow/FileReasons.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::size_t kPiece = 64 * 1024;

}  // namespace

std::string WordsOf(archive* object) {
  const char* const words = archive_error_string(object);
  return words == nullptr || *words == '\0' ? FileReasons::kNoMemory : words;
}

SourceCallbacks::SourceCallbacks(std::unique_ptr<ByteSource> source) : source_(std::move(source)), piece_(kPiece) {}

void SourceCallbacks::Open(archive* object, const std::string& shown_name) {
  archive_read_set_callback_data(object, this);
  archive_read_set_read_callback(object, ReadPiece);
  if (source_->Size()) archive_read_set_seek_callback(object, SeekTo);
  if (archive_read_open1(object) != ARCHIVE_OK) Fail(object, shown_name);
}

void SourceCallbacks::Fail(archive* object, const std::string& shown_name) {
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
  throw FileProblem(shown_name + ": " + WordsOf(object));
}

la_ssize_t SourceCallbacks::ReadPiece(archive* object, void* callbacks, const void** piece) {
  auto* const self = static_cast<SourceCallbacks*>(callbacks);
  try {
    const std::size_t count = self->source_->Read(self->piece_.data(), self->piece_.size());
    self->position_ += count;
    *piece = self->piece_.data();
    return static_cast<la_ssize_t>(count);
  } catch (...) {
    self->thrown_ = std::current_exception();
    archive_set_error(object, EIO, "not read");
    return -1;
  }
}

la_int64_t SourceCallbacks::SeekTo(archive* object, void* callbacks, la_int64_t offset, int whence) {
  auto* const self = static_cast<SourceCallbacks*>(callbacks);
  try {
    return self->Seek(offset, whence);
  } catch (...) {
    self->thrown_ = std::current_exception();
    archive_set_error(object, EIO, "not read");
    return ARCHIVE_FATAL;
  }
}

la_int64_t SourceCallbacks::Seek(la_int64_t offset, int whence) {
  const auto size = static_cast<la_int64_t>(source_->Size().value_or(0));
  const la_int64_t from = whence == SEEK_END ? size : whence == SEEK_CUR ? static_cast<la_int64_t>(position_) : 0;
  // Beyond both ends there is nothing to read; the sum cannot overflow after this.
  if (offset < -from || offset > size - from) return ARCHIVE_FATAL;
  position_ = static_cast<std::uint64_t>(from + offset);
  source_->Seek(position_);
  return from + offset;
}

}  // namespace OrvWorkFlow::Nodes
