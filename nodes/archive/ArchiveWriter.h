// Writes an archive, one file after the other, in pieces.
#pragma once

#include <string>
#include <string_view>

#include "nodes/archive/EntryName.h"
#include "nodes/archive/LibraryArchive.h"
#include "nodes/files/FlushPace.h"

namespace OrvWorkFlow::Nodes {

struct ArchiveFormat {
  std::string_view name;  // ".zip" and the like, without the point
  int (*set_format)(archive*);
  int (*add_filter)(archive*);
};

inline constexpr const char* kFormatNames[] = {"zip",     "tar", "tar.gz", "tar.bz2", "tar.xz",
                                               "tar.zst", "tgz", "tbz2",   "txz"};

// By its name, one of these, or, where that is empty, by the end of the file's name. Throws FileProblem for one that is
// not known.
const ArchiveFormat& FormatOf(std::string_view name, std::string_view file_name);

class ArchiveWriter {
 public:
  // Begins the archive in an empty file, which outlives the writer. Throws FileProblem, as all the others, and
  // ArchiveStopped.
  ArchiveWriter(LocalFile& file, const ArchiveFormat& format, std::string shown_name, StopCheck stop_wanted);
  ArchiveWriter(const ArchiveWriter&) = delete;
  ArchiveWriter& operator=(const ArchiveWriter&) = delete;
  ~ArchiveWriter();

  // Puts a file into it, by the name it is to have there; how many bytes.
  std::uint64_t Add(const std::filesystem::path& source, const std::string& shown_source,
                    const std::filesystem::path& name);
  // What is in the file then is the whole archive, and on the disk.
  void End();

 private:
  static la_ssize_t WritePiece(archive* object, void* writer, const void* bytes, std::size_t size);
  // Throws what was thrown below, or what the library says.
  void Check(int result);

  EntryNameScope scope_;
  LocalFile& file_;
  std::string shown_name_;
  StopCheck stop_wanted_;
  FlushPace pace_;
  bool is_whole_ = false;
  bool is_given_up_ = false;  // what is written is lost
  std::exception_ptr thrown_;
  ArchivePointer object_;  // goes before what it writes with
};

}  // namespace OrvWorkFlow::Nodes
