#include "nodes/archive/ArchiveReader.h"

#include <utility>
#include <vector>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::size_t kPiece = 64 * 1024;
// tar fills up its last record, of some KiB; more behind the end is something else.
constexpr std::uint64_t kMostPadding = std::uint64_t{64} << 20;

EntryKind KindOf(archive_entry* entry) {
  if (archive_entry_hardlink(entry) != nullptr || archive_entry_hardlink_w(entry) != nullptr) {
    return EntryKind::HardLink;
  }
  switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
      return EntryKind::File;
    case AE_IFDIR:
      return EntryKind::Folder;
    case AE_IFLNK:
      return EntryKind::SymbolicLink;
    default:
      return EntryKind::Other;
  }
}

}  // namespace

ArchiveReader::ArchiveReader(const std::filesystem::path& path, std::string shown_name, const StopCheck& stop_wanted)
    : shown_name_(std::move(shown_name)),
      stop_wanted_(stop_wanted),
      callbacks_(OpenSource(path, shown_name_, stop_wanted)),
      object_(archive_read_new()) {
  if (object_ == nullptr) throw FileProblem(shown_name_ + ": out of memory");
  archive_read_support_format_tar(object_.get());
  // By its directory alone, which is at its end: what has none is cut off.
  archive_read_support_format_zip_seekable(object_.get());
  callbacks_.Open(object_.get(), shown_name_);
}

bool ArchiveReader::Next(ArchiveEntry& entry) {
  if (stop_wanted_()) throw ArchiveStopped();
  archive_entry* found = nullptr;
  const int result = archive_read_next_header(object_.get(), &found);
  if (result == ARCHIVE_EOF) {
    CheckEnd();
    return false;
  }
  if (result != ARCHIVE_OK) callbacks_.Fail(object_.get(), shown_name_);
  entry = {};
  entry.name = NameBelow(StoredName(found), shown_name_);
  entry.kind = KindOf(found);
  if (entry.kind == EntryKind::HardLink) entry.hard_link = NameBelow(StoredHardLink(found), shown_name_);
  if (archive_entry_is_encrypted(found) != 0) {
    throw FileProblem(shown_name_ + ": \"" + ShownName(entry.name) + "\" is enciphered");
  }
  const la_int64_t size = archive_entry_size_is_set(found) != 0 ? archive_entry_size(found) : 0;
  if (size < 0) throw FileProblem(shown_name_ + ": \"" + ShownName(entry.name) + "\": it has no size that can be");
  entry.size = static_cast<std::uint64_t>(size);
  entry.permissions = static_cast<unsigned>(archive_entry_perm(found)) & 0777U;
  entry.has_changed = archive_entry_mtime_is_set(found) != 0;
  entry.changed = entry.has_changed ? static_cast<std::int64_t>(archive_entry_mtime(found)) : 0;
  return true;
}

bool ArchiveReader::ReadBlock(ArchiveBlock& block) {
  if (stop_wanted_()) throw ArchiveStopped();
  la_int64_t position = 0;
  const int result = archive_read_data_block(object_.get(), &block.bytes, &block.size, &position);
  if ((result != ARCHIVE_OK && result != ARCHIVE_EOF) || position < 0) callbacks_.Fail(object_.get(), shown_name_);
  block.position = static_cast<std::uint64_t>(position);
  if (result == ARCHIVE_EOF) block.size = 0;
  return result == ARCHIVE_OK;
}

// An archive that was cut off between two entries looks whole but for the mark at its end, and a packed one's checksum
// stands behind that.
void ArchiveReader::CheckEnd() {
  const bool is_tar = (archive_format(object_.get()) & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_TAR;
  if (!is_tar) return;
  if (archive_filter_bytes(object_.get(), 0) <= archive_read_header_position(object_.get())) {
    throw FileProblem(shown_name_ + ": it is cut off");
  }
  ByteSource& source = callbacks_.source();
  if (source.Size()) return;
  std::vector<char> piece(kPiece);
  std::uint64_t padding = 0;
  while (const std::size_t count = source.Read(piece.data(), piece.size())) {
    padding += count;
    if (padding > kMostPadding) throw FileProblem(shown_name_ + ": there is more behind its end than padding");
  }
}

}  // namespace OrvWorkFlow::Nodes
