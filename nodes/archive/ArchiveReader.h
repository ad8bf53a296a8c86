// The entries of an archive, one after the other: zip, and tar in its forms, packed by gzip, bzip2, xz or zstd or not
// at all. What cannot be read as it was written is a problem, never less than that.
#pragma once

#include <string>

#include "nodes/archive/EntryName.h"
#include "nodes/archive/LibraryArchive.h"

namespace OrvWorkFlow::Nodes {

enum class EntryKind { File, Folder, SymbolicLink, HardLink, Other };

struct ArchiveEntry {
  std::string name;  // a path below a folder; empty for the folder itself
  EntryKind kind = EntryKind::Other;
  std::string hard_link;   // what another entry is called that has the same bytes
  std::uint64_t size = 0;  // as the archive says; that much may not be there
  unsigned permissions = 0;
  std::int64_t changed = 0;  // in seconds since 1970
  bool has_changed = false;
};

// Bytes of an entry; what lies between two blocks are zeros.
struct ArchiveBlock {
  const void* bytes = nullptr;
  std::size_t size = 0;
  std::uint64_t position = 0;
};

class ArchiveReader {
 public:
  // Throws FileProblem, as all the others, and all ArchiveStopped.
  ArchiveReader(const std::filesystem::path& path, std::string shown_name, const StopCheck& stop_wanted);

  // False at the end of the archive. Names that lead outside, or that no path can hold, and entries that are
  // enciphered throw.
  bool Next(ArchiveEntry& entry);
  // Of the entry that Next gave; false at its end, whose position the block has then.
  bool ReadBlock(ArchiveBlock& block);

  const std::string& shown_name() const { return shown_name_; }

 private:
  void CheckEnd();

  EntryNameScope scope_;
  std::string shown_name_;
  StopCheck stop_wanted_;
  SourceCallbacks callbacks_;
  ArchivePointer object_;  // goes before what it reads from
};

}  // namespace OrvWorkFlow::Nodes
