// libarchive's objects, and what they say.
#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "nodes/archive/ByteSource.h"

namespace OrvWorkFlow::Nodes {

struct ArchiveCloser {
  void operator()(archive* object) const { archive_free(object); }
};
using ArchivePointer = std::unique_ptr<archive, ArchiveCloser>;

struct EntryCloser {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using EntryPointer = std::unique_ptr<archive_entry, EntryCloser>;

// What libarchive reads from a source; it goes through C, so what is thrown there waits here.
class SourceCallbacks {
 public:
  explicit SourceCallbacks(std::unique_ptr<ByteSource> source);
  // Opens `object`, whose formats are set. Throws FileProblem, ArchiveStopped.
  void Open(archive* object, const std::string& shown_name);
  // Throws what was thrown below, else FileProblem with libarchive's words.
  [[noreturn]] void Fail(archive* object, const std::string& shown_name);
  ByteSource& source() { return *source_; }

 private:
  static la_ssize_t ReadPiece(archive* object, void* callbacks, const void** piece);
  static la_int64_t SeekTo(archive* object, void* callbacks, la_int64_t offset, int whence);
  la_int64_t Seek(la_int64_t offset, int whence);

  std::unique_ptr<ByteSource> source_;
  std::vector<char> piece_;
  std::uint64_t position_ = 0;
  std::exception_ptr thrown_;
};

// libarchive's words, "out of memory" where it has none.
std::string WordsOf(archive* object);

}  // namespace OrvWorkFlow::Nodes
