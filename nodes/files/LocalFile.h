// Files as the operating system has them, for what the host's file system has no operation for: sizes of 4 GiB and
// more, times, renaming, and handing a path to a library.
//
// A file that is open here cannot be changed by the host's file system meanwhile ("in use"), and the other way round.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "nodes/files/FilePieces.h"

namespace OrvWorkFlow::Nodes {

// Where the system finds what a workflow path or platform path names; nothing needs to be there. Throws FileProblem for
// a path that can name nothing.
std::filesystem::path LocalPath(IFileSystemA& file_system, const std::string& path);

// A name as the host's file system takes it; empty when no path can hold it.
std::string NameOf(const std::filesystem::path& name);

// A local path in UTF-8, as libraries take it.
std::string Utf8Of(const std::filesystem::path& path);

// The words of FileReasons.h.
std::string ReasonOf(const std::error_code& error);

struct FileState {
  bool is_plain = false;   // a file, or a link to one
  bool is_folder = false;  // or a link to one
  std::uint64_t size = 0;
  std::int64_t changed = 0;  // in microseconds; see PresentMoment
};

// Nothing where nothing is, or where it cannot be looked at.
std::optional<FileState> StateOfPath(const std::filesystem::path& path);

// By what a file is known again: its name, size and time.
std::vector<std::string> IdentityOf(const std::filesystem::path& path, const std::string& shown_name);

// The present moment as `changed` counts it, in microseconds.
std::int64_t PresentMoment();

// Throws FileProblem. The target is replaced.
void RenamePath(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& shown_name);

// Makes the folder of a file, where it is missing.
void MakeFolderOf(const std::filesystem::path& file, const std::string& shown_name);

// An open file. The operations throw FileProblem, with the name as the user knows it and the reason.
class LocalFile {
 public:
  enum class Mode {
    Read,
    Write,  // made where it is missing; what it holds stays, and writing begins at its start
    New,    // made; it is a problem when something has that name, a link too
  };
  LocalFile(const std::filesystem::path& path, Mode mode, std::string shown_name);
  LocalFile(const LocalFile&) = delete;
  LocalFile& operator=(const LocalFile&) = delete;
  ~LocalFile();

  std::uint64_t Size() const;
  void Seek(std::uint64_t position);
  // How many bytes were read; fewer than asked for at the end alone.
  std::size_t Read(void* bytes, std::size_t size);
  void Write(const void* bytes, std::size_t size);
  // The file ends there, and writing goes on there.
  void CutAt(std::uint64_t size);
  // What was written is on the disk then.
  void Flush();

 private:
  [[noreturn]] void Fail(const char* what) const;

  std::intptr_t handle_;
  std::string shown_name_;
};

// What a file holds; nothing when it was stopped. Throws FileProblem, also when it is larger than `most`, which is the
// node's parameter MostBytes.
std::optional<std::string> ReadWholeFile(IFileSystemA& file_system, const std::string& name, std::uint64_t most,
                                         const std::function<bool()>& stop_wanted);

}  // namespace OrvWorkFlow::Nodes
