// The system calls for files, in the shape that the library uses them.
//
// Paths are platform paths (Windows shape on every platform, see Platform.h), zero-terminated by their string, in
// narrow or wide characters. Nothing here throws but std::bad_alloc. All classes: any thread; a handle: one thread at a
// time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace OrvWorkFlow::Core::System {

// Attribute bits with the values of the Windows calls. `kLink` marks a symbolic link (a reparse point); with
// `kDirectory` one to a directory.
namespace FileAttribute {
inline constexpr std::uint32_t kReadOnly = 0x1;
inline constexpr std::uint32_t kDirectory = 0x10;
inline constexpr std::uint32_t kNormal = 0x80;
inline constexpr std::uint32_t kLink = 0x400;
}  // namespace FileAttribute

// How a call ended, as far as anybody here acts on it.
enum class SystemResult {
  Ok,
  NotFound,
  Exists,
  Denied,  // The system's permissions, a read-only mark or a read-only disk forbid it.
  InUse,   // A handle without sharing is open on the file.
  Failed,
};

enum class Access {
  Read,
  Write,
  Edit,  // Reads a file that is then written or replaced.
};
// Whether a read-only mark protects from removal.
enum class Mark { Counts, Ignored };
// Whether a copy has the source's read-only mark, or none.
enum class CopiedMark { Kept, Dropped };
enum class Creation {
  OpenExisting,
  OpenAlways,
  CreateNew,         // `Exists` when anything has that name, a dangling link included.
  CreateNewPrivate,  // The same, readable by nobody but the owner until it is given other permissions.
};

enum class FileHandle : std::intptr_t { None = -1 };

// Calls that name a file.
template <class Char>
class FilesOf {
 public:
  using Text = std::basic_string<Char>;

  // The attributes of what has that name; a link's own, with the directory bit of what it points to. False and
  // `*attributes` untouched when there is nothing.
  virtual bool GetAttributes(const Text& path, std::uint32_t* attributes) = 0;
  // Of the bits only kReadOnly and kNormal count. What a link points to is never changed.
  virtual bool SetAttributes(const Text& path, std::uint32_t attributes) = 0;
  // True for a plain file without the read-only mark that this process may write to.
  virtual bool IsWritableFile(const Text& path) = 0;
  // Opens without sharing: as long as the handle is open, this library opens, copies and removes that file nowhere
  // else. A directory and what is not a plain file are refused; so is writing to a file with the read-only mark. The
  // position is the start. `*handle` is set on Ok only. Who writes or edits has the file's turn (see TakeTurn).
  virtual SystemResult Open(const Text& path, Access access, Creation creation, FileHandle* handle) = 0;
  // Of those who change or replace a file one has the turn at a time, in all processes, as far as the system's locks
  // reach: waits for it, for two seconds at most, then InUse. The handle can be closed and nothing else. Other results
  // than Ok and InUse: it cannot be had (nothing is there, or nobody may write to it).
  virtual SystemResult TakeTurn(const Text& path, FileHandle* handle) = 0;
  // The copy has the source's read-only mark, if that is kept. A destination that exists is replaced by a whole copy,
  // which is on the disk then; a failure leaves it, unless its directory takes no new file. A failure leaves nothing
  // new. A file is never copied onto itself, nor onto one with the read-only mark.
  virtual bool CopyOver(const Text& source, const Text& destination, bool fail_if_exists,
                        CopiedMark mark = CopiedMark::Kept) = 0;
  // Removes a file, or a link to one. Refuses a file with an open handle, and one with the read-only mark when that
  // counts; a refusal leaves the mark.
  virtual bool RemoveOneFile(const Text& path, Mark mark = Mark::Counts) = 0;
  // Gives the file `from` the name `to` in the same folder, in place of a file that has it, at once and durably.
  virtual bool RenameOver(const Text& from, const Text& to) = 0;
  // Gives `to` the permissions (owner, mode, access list, attributes) of `from`, as far as the system lets it; false
  // when not even the mode or the attributes could be had.
  virtual bool CopyPermissions(const Text& from, const Text& to) = 0;
  // The path of what a link points to in the end; the path as it is when it names no link. False for an endless chain,
  // for a target that no path can name and for one that cannot be found out.
  virtual bool FollowLink(const Text& path, Text* target) = 0;

 protected:
  ~FilesOf() = default;
};

// Calls on an open file.
class OpenFiles {
 public:
  // Fewer bytes than asked for only at the end of the file. `*done` is set in any case.
  virtual bool Read(FileHandle handle, void* data, std::size_t size, std::size_t* done) = 0;
  // All or failure; `*done` is set in any case.
  virtual bool Write(FileHandle handle, const void* data, std::size_t size, std::size_t* done) = 0;
  virtual bool GetSize(FileHandle handle, std::uint64_t* size) = 0;
  virtual bool MoveTo(FileHandle handle, std::uint64_t position) = 0;
  // Ends the file at the position.
  virtual bool SetEnd(FileHandle handle) = 0;
  // Returns when the content is on the disk.
  virtual bool Flush(FileHandle handle) = 0;
  // A file that is being edited may be replaced from now on; the turn stays, reading and writing end.
  virtual void LetReplace(FileHandle handle) = 0;
  // The handle is gone also when the answer is false, which means that content may be lost.
  virtual bool Close(FileHandle handle) = 0;

 protected:
  ~OpenFiles() = default;
};

}  // namespace OrvWorkFlow::Core::System
