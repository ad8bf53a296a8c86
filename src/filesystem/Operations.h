// What the two faces of the file system do, for either width. The contract of each operation stands in IFileSystem.h.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IFileSystem.h"
#include "filesystem/DirectoryWalk.h"
#include "filesystem/ErrorHook.h"
#include "filesystem/FailureRecorder.h"
#include "filesystem/FileContent.h"
#include "filesystem/PathTranslator.h"
#include "filesystem/SearchDirectories.h"
#include "filesystem/SystemCalls.h"

namespace OrvWorkFlow::Core::FileSystem {

// What both widths of one file system share.
struct FileSystemParts {
  FileSystemParts(const System::Platform& the_platform, ErrorHook& the_hook)
      : platform(the_platform), hook(the_platform.reasons, the_hook), translator(the_platform, hook) {}

  const System::Platform& platform;
  FailureRecorder hook;
  PathTranslator translator;
  SearchDirectories content_directories;
  std::atomic<bool> stopping = false;  // The object goes: a walk in progress ends at its next entry.
};

// May throw (out of memory, marshalled objects); the faces guard every call. Any thread.
template <class Char>
class Operations {
 public:
  using Text = std::basic_string<Char>;
  using String = typename MarshalledTypes<Char>::String;
  using StringList = typename MarshalledTypes<Char>::StringList;
  using Notification = IFileSystemNotificationOf<Char>;

  explicit Operations(FileSystemParts& parts) : parts_(parts), calls_(parts.platform), content_(calls_, parts.hook) {}
  Operations(const Operations&) = delete;
  Operations& operator=(const Operations&) = delete;

  bool WorkflowPathToPlatformPath(const Char* path, Char* buffer, std::size_t capacity, std::size_t* length);
  bool WorkflowPathToPlatformPathString(const Char* path, String* platform_path);
  bool MakeDirectory(const Char* path);
  bool DeleteDirectory(const Char* path);
  bool ListFiles(const Char* path, StringList* files);
  bool ListDirectories(const Char* path, StringList* directories);
  // Listings whose entries are told one by one; false from the notification stops them.
  bool NotifyFiles(const Char* path, Notification& notification);
  bool NotifyDirectories(const Char* path, Notification& notification);
  bool CopyOneFile(const Char* source, const Char* destination, bool overwrite);
  bool CopyDirectory(const Char* source, const Char* destination, bool overwrite);
  bool FileExists(const Char* path);
  bool DirectoryExists(const Char* path);
  bool RemoveFile(const Char* path);
  std::uint32_t FileSize(const Char* path);
  bool MakeFile(const Char* path);
  bool ReadFileRange(const Char* path, std::uint32_t first, std::uint32_t last, IOrvBasicStream* stream);
  bool ReadFileToString(const Char* path, String* text);
  bool ReadFileToStream(const Char* path, IOrvBasicStream* stream);
  bool ReadFileToWideString(const Char* path, String* text) requires(sizeof(Char) == 2);
  bool WriteFileBytes(const Char* path, const void* data, std::size_t size);
  bool WriteFileText(const Char* path, const Char* text);
  bool WriteFileTextUnicode(const Char* path, const Char* text) requires(sizeof(Char) == 2);
  bool WriteFileString(const Char* path, const String* text);
  bool AppendFileString(const Char* path, const String* text);
  bool PrependFileString(const Char* path, const String* text);
  bool InsertFileString(const Char* path, std::uint32_t position, const String* text);
  bool OverwriteFileString(const Char* path, std::uint32_t position, const String* text);
  bool DeleteFileBytes(const Char* path, std::uint32_t position, std::uint32_t count);
  bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size);
  bool GetLastFailure(String* operation, String* path, String* reason);
  bool FlushWrites();

 private:
  bool Fail(const Failure& failure) { return parts_.hook.Report(failure); }
  bool FailAt(const Failure& failure, const Text& place) { return parts_.hook.ReportAt(failure, place); }
  // Names the destination if the source can be read.
  bool FailCopy(const Text& source, const Text& destination);
  // The output may be null.
  static bool Tell(String* output, std::string_view ascii);
  Text InOwnWidth(const FailedPath& path);

  // The platform path for an argument: never empty, and nothing lost in the code page.
  bool Resolve(const Char* path, Text* platform_path);

  bool RemoveDirectoryItself(const Text& path);
  bool RemoveFileOf(Tree<Char>& tree, const Text& path);
  bool RemoveDirectoryOf(Tree<Char>& tree, const Text& path);
  // Opens the directory to be listed, which must exist; `*listed` writes the paths of its entries in the caller's form.
  bool OpenListed(const Char* path, const Failure& no_directory, Tree<Char>* tree, ListedPath<Char>* listed);
  // All listings of a tree, before the first of its entries is touched; Broken also when the object goes.
  WalkResult CollectTree(Tree<Char>& tree, std::vector<Listing<Char>>* listings);
  // Notes what a walk does not reach.
  GapVisitor<Char> NoteGaps(const Tree<Char>& tree);
  bool FailLinksToFolders(const Tree<Char>& tree, const std::vector<Listing<Char>>& listings);
  // Copies what the listings hold, and says what cannot be copied.
  bool CopyListings(Tree<Char>& from, Tree<Char>& to, const std::vector<Listing<Char>>& listings, bool overwrite);
  bool CopyListing(Tree<Char>& from, Tree<Char>& to, const Listing<Char>& listing, const std::vector<bool>& doubles,
                   bool overwrite);
  bool ListTree(const Char* path, const Failure& no_directory, StringList* output, bool files);
  bool NotifyOfTree(const Char* path, const Failure& no_directory, bool files,
                    const std::function<bool(const Char*)>& notify);
  bool CopyFileOf(Tree<Char>& from, Tree<Char>& to, const Text& path, std::uint32_t listed, bool overwrite);
  // The platform path of a file that exists: the source, or one of that name in a content directory.
  bool FindSource(const Char* source, Text* platform_path);
  // The platform path of a copy's destination, when its folder, if the path names it, has been made.
  bool PrepareDestination(const Char* destination, Text* platform_path);
  bool ExistsAs(const Char* path, Text* platform_path);

  // Gives a file that exists what `change` makes of its content; `change` answers false when that cannot be.
  bool Edit(const Char* path, const std::function<bool(std::string&)>& change);

  FileSystemParts& parts_;
  SystemCalls<Char> calls_;
  FileContent<Char> content_;
};

}  // namespace OrvWorkFlow::Core::FileSystem
