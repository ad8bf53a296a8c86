// Names of entries as archives have them: what of them becomes a path below a folder. An archive may come from
// anywhere, so a name is not believed before it was here.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

struct archive_entry;

namespace OrvWorkFlow::Nodes {

// As long as it lives, entries that this thread reads and writes have names in UTF-8, whatever the process speaks.
class EntryNameScope {
 public:
  EntryNameScope();
  EntryNameScope(const EntryNameScope&) = delete;
  EntryNameScope& operator=(const EntryNameScope&) = delete;
  ~EntryNameScope();

 private:
  void* scope_;
  void* before_;
};

// As the archive has them, in UTF-8; empty where there is none, or none that can be told.
std::string StoredName(archive_entry* entry);
std::string StoredHardLink(archive_entry* entry);

// The name of an entry that is written: a path below a folder.
void StoreName(archive_entry* entry, const std::filesystem::path& name);

// The path below a folder that a stored name says: parts that lead nowhere are left out, so it may be empty. Throws
// FileProblem for names that lead outside, and for those that no path of this system can hold.
std::string NameBelow(std::string_view stored, const std::string& shown_archive);

// The same as a local path, for use below a folder.
std::filesystem::path LocalNameOf(const std::string& name_below);

// For the user: nothing in it moves a terminal's cursor, and it is not endless.
std::string ShownName(std::string_view name);

// Whether a part of a path is a name for a file of Windows: no device, none of its special characters.
bool IsWindowsName(std::string_view part);

// Whether a path of this system can hold the part.
bool HoldsPart(const std::string& part);

// What the system calls the entry that was found by a path; it may be written otherwise there.
std::filesystem::path OwnNameOf(const std::filesystem::path& path);

}  // namespace OrvWorkFlow::Nodes
