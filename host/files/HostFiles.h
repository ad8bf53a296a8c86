// Files as the user names them on the command line, in UTF-8: by the host's own paths, relative to the current
// directory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace OrvWorkFlow::Host {

enum class FileKind {
  Missing,  // nothing has that name; all that the system cannot tell is Unreadable
  Folder,
  Unreadable,
  Readable,
};

// What stands at a path, and the system's reason when it is unreadable ("Permission denied").
struct FileLook {
  FileKind kind = FileKind::Missing;
  std::string reason;
};
FileLook LookAtFile(const std::string& path);
inline FileKind FindFileKind(const std::string& path) { return LookAtFile(path).kind; }

// The path from the root of the host's file system, in the narrow characters of the host's file calls and of the
// library; as given when the system cannot tell. The functions here take it too. Throws HostError when these
// characters cannot name it.
std::string MakeAbsolutePath(const std::string& path);

// The path, absolute before and after, with all links followed: that of the file itself, which need not exist. As given
// when the system cannot tell.
std::string ResolveLinks(const std::string& path);
// True when the last name of the path is a link's.
bool IsLink(const std::string& path);
// False when either cannot be looked at.
bool IsSameFile(const std::string& one, const std::string& other);

// Reads a file to its end. `reason` is the system's when that fails, else "". `checksum` is FNV-1a of 64 bits.
struct FileReading {
  std::string reason;
  std::uint64_t checksum = 0;
};
FileReading ReadThrough(const std::string& path);

// Removes a file so that it does not come back after a power failure; one that is not there is removed. "" or the
// system's reason.
std::string RemoveDurably(const std::string& path);

// The path's name in its folder survives a power failure from now on. "" or the system's reason.
std::string KeepName(const std::string& path);

// Makes an empty file that nobody but its owner can read, in place of what had that name; "" or the system's reason.
// Where files have no mode it does nothing and answers "".
std::string MakePrivateFile(const std::string& path);
// Gives `from` the name `to`, at once and durably; "" or the system's reason.
std::string RenameDurably(const std::string& from, const std::string& to);

// The plain files in the path's folder whose names begin with the path's last name, by their whole paths; not that
// file itself. None when the folder cannot be read.
std::vector<std::string> FilesNamedAfter(const std::string& path);

// Why a file that this program trusts must not be used, as the end of a sentence; "" when it may. Where anybody may
// put a file into the folder, one that belongs to another user is not trusted, nor a link of his. One that does not
// exist is. The system's own accounts are trusted, and on Windows files of another machine.
std::string WhyNotTrusted(const std::string& path);

}  // namespace OrvWorkFlow::Host
