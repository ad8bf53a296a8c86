// Files and directories by workflow path or platform path, in narrow and wide characters.
//
// A workflow path begins with "$" and holds no backslash: "$WINTEMP/a/b.txt" (macros $TEMP, $PERMANENT, $HOSTEXEC,
// $WINDIR, $WINSYSDIR, $PROGRAMFILES, $WINTEMP) or "$FlowName/data/list.txt" (beside that workflow's definition file).
// A workflow path that ends in "/" keeps its separator and names no directory. Any other string is a platform path.
// Platform paths have Windows shape on every platform; on Linux "C:" is a private prefix directory, "Z:" is "/", and a
// path that begins with "/" is the host's own. A relative path starts at the process's current directory, which other
// threads may change: hand in whole paths. A bare "Z:" names nothing on Linux. Names of devices ("NUL", "COM1.txt")
// name no files on Windows.
//
// Wildcards: only DirectoryExists and what asks it (a listing, CopyDirectory, DeleteDirectory look at the first match
// of the last component, "*" and "?") know them; nothing else does, and there is no listing by pattern.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IFileSystemNotification.h"

namespace OrvWorkFlow {

// The marshalled types of one character width.
template <class Char>
struct MarshalledTypes;
template <>
struct MarshalledTypes<char> {
  using String = IOrvPString;
  using StringList = IOrvPStringList;
};
template <>
struct MarshalledTypes<char16_t> {
  using String = IOrvString;
  using StringList = IOrvStringList;
};

// The operations of both widths, in table order: the wide face has two more, so they come in three pieces, each of
// which continues the table of the one before. What holds of all of them:
//
// Any thread. False means failure; GetLastFailure tells why. Outputs are replaced on success and untouched on failure.
// No operation leaves a handle open. A wide operation that the system refuses is tried once more in narrow characters,
// if the path loses nothing by that. Positions and counts are in bytes, from 0.
//
// Open files. While an operation reads, writes or copies a file, it has it open without sharing: every other operation
// that needs the file fails meanwhile ("in use"), in this process and in others that use this library, two readers
// among them. So does a file that anybody else holds open on Windows. Nothing waits for a reader or writer; whoever
// expects company tries again.
//
// Edits (prepend, insert, overwrite, delete bytes) hold the file from their reading to its replacement: of two edits,
// or an edit and an append, at once, one may fail, but what answered true is in the file.
//
// An operation whose name ends in "Async" copies its arguments, returns at once and does the work of the operation of
// that name on the object's one worker thread; the result goes to the notification (see IFileSystemNotification.h).
// False, with nothing done and nothing told, for a path that is null or empty, a null notification, while another
// asynchronous call of the object runs (through either face; a call runs until its `Completed` is called), and when no
// thread can be had. What else is wrong is found on the thread.
//
// Releasing the object stops a running call at its next file or entry, and waits until its `Completed` (with false) has
// returned. From within a notification it does not wait: the call ends after the notification has returned.
template <class Char>
class IFileSystemStart : public virtual IBaseWorkFlowObject {
 public:
  using String = typename MarshalledTypes<Char>::String;
  using StringList = typename MarshalledTypes<Char>::StringList;
  using Notification = IFileSystemNotificationOf<Char>;

  // The base protocol once more: without it the table of a second face would have empty places for a caller by place.
  void* QueryInterface(const char* interface_name) override = 0;
  bool GetVersion(IOrvPString* version) override = 0;
  bool GetLastErrorText(IOrvPString* text) override = 0;
  void ResetContentDirectories() override = 0;
  void AddContentDirectory(const char* directory) override = 0;
  void SetWriteDirectory(const char* directory) override = 0;
  bool LoadState(const char* path) override = 0;
  bool ReservedLoad(const char* argument) override = 0;
  bool SaveState(const char* path) override = 0;
  bool ReservedSave(const char* argument) override = 0;
  void SetEncryptionKey(const char* key) override = 0;
  bool GetTypeName(IOrvPString* name) override = 0;
  bool SetUtilityStore(IUtilityStore* store) override = 0;
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override = 0;
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override = 0;
  void Release() override = 0;

  // The platform path for a path. Writes it with its terminator to `buffer`, which has room for `capacity` characters;
  // false when it does not fit. `*length`, when not null, becomes the length without terminator whenever the path
  // itself could be translated.
  virtual bool WorkflowPathToPlatformPath(const Char* path, Char* buffer, std::size_t capacity,
                                          std::size_t* length) = 0;
  virtual bool WorkflowPathToPlatformPathString(const Char* path, String* platform_path) = 0;

  // Creates the directory and every missing parent. An existing directory is success.
  virtual bool MakeDirectory(const Char* path) = 0;

  // Deletes the directory with all that is in it; links in it are removed, never followed. A directory that does not
  // exist is success. Goes on after a failure, and is false then. Drive roots are refused.
  virtual bool DeleteDirectoryAsync(const Char* path, Notification* notification) = 0;
  virtual bool DeleteDirectory(const Char* path) = 0;

  // Every file (every directory) below the directory, with full paths, in the caller's form: workflow paths for a
  // workflow path. A directory's own entries come first, then each subdirectory in turn. Links are listed, not entered;
  // one to nothing is a file. Left out are names that no path can hold (on Linux those with "\" or ":", and those that
  // are not UTF-8; on the narrow face on Windows those that the code page lacks), with all that is below them, and what
  // is in directories that cannot be read. The answer is true then, and GetLastFailure names the first.
  virtual bool ListFilesAsync(const Char* path, Notification* notification) = 0;
  virtual bool ListFiles(const Char* path, StringList* files) = 0;
  virtual bool ListDirectoriesAsync(const Char* path, Notification* notification) = 0;
  virtual bool ListDirectories(const Char* path, StringList* directories) = 0;

  // Copies one file. A source that does not exist is looked for in the content directories. The directory of a
  // destination that holds a "/" is made. The copy is never read-only. Without `overwrite` an existing destination
  // fails. With it the copy is made beside the destination and then takes its name, its permissions kept: a failure
  // leaves the old file. Where the directory takes no new file, the destination itself is written, and a failure
  // removes it. A failure leaves no new file. The copy may still be in the system's memory: see FlushWrites.
  virtual bool CopyOneFileAsync(const Char* source, const Char* destination, bool overwrite,
                                Notification* notification) = 0;
  virtual bool CopyOneFile(const Char* source, const Char* destination, bool overwrite) = 0;

  // Copies every file below the source to the same place below the destination, making the directories on the way;
  // directories without files are not made. The files are those that are there when the copying begins. Goes on after
  // a failure, and is false then; also when something was left out: what a listing leaves out, links to directories,
  // and of several names that are one at the destination ("readme" and "README" on a drive without regard to case) all
  // but the first. GetLastFailure names the first such entry. What was copied before a failure stays.
  virtual bool CopyDirectoryAsync(const Char* source, const Char* destination, bool overwrite,
                                  Notification* notification) = 0;
  virtual bool CopyDirectory(const Char* source, const Char* destination, bool overwrite) = 0;

  virtual bool FileExists(const Char* path) = 0;
  virtual bool DirectoryExists(const Char* path) = 0;

  // Deletes one file, also a read-only one, or a link to a file. A file that does not exist is success, and so is a
  // directory: it stays. A failure leaves the file's read-only mark as it was.
  virtual bool RemoveFile(const Char* path) = 0;

  // In bytes, the low 32 bits; the sum over all files for a directory; 0 on failure.
  virtual std::uint32_t FileSize(const Char* path) = 0;

  // Creates an empty file, and its directory, if it is missing.
  virtual bool MakeFile(const Char* path) = 0;

  // The bytes from `first` to `last`, both included, as far as the file reaches. False when `first` lies behind `last`.
  virtual bool ReadFileRange(const Char* path, std::uint32_t first, std::uint32_t last, IOrvBasicStream* stream) = 0;

  // Whole files; one of 4 GiB and more is refused. The text ends at the first zero byte; the wide face widens the
  // file's narrow text.
  virtual bool ReadFileToString(const Char* path, String* text) = 0;
  virtual bool ReadFileToStream(const Char* path, IOrvBasicStream* stream) = 0;

 protected:
  ~IFileSystemStart() = default;
};

// `Before` is what stands in the table before it.
template <class Char, class Before>
class IFileSystemContent : public Before {
 public:
  // Replace the file's content, creating file and directory if missing. A read-only file fails. The wide face writes a
  // text as UTF-16 little-endian without a mark. A write that fails may leave the file half written, though not longer
  // than it was.
  virtual bool WriteFileBytes(const Char* path, const void* data, std::size_t size) = 0;
  virtual bool WriteFileText(const Char* path, const Char* text) = 0;

 protected:
  ~IFileSystemContent() = default;
};

template <class Char, class Before>
class IFileSystemEdits : public Before {
 public:
  using typename Before::String;

  // As WriteFileText.
  virtual bool WriteFileString(const Char* path, const String* text) = 0;

  // Appends at the end, creating the file if missing. A failure leaves the file as long as it was.
  virtual bool AppendFileString(const Char* path, const String* text) = 0;

  // The edits of a file that exists, all or nothing: as with ReplaceFileBytes the file has the old content or the new
  // one at any moment, and it gets no larger than 4 GiB. A position behind the file's end fails; the end itself does
  // not.
  virtual bool PrependFileString(const Char* path, const String* text) = 0;
  virtual bool InsertFileString(const Char* path, std::uint32_t position, const String* text) = 0;
  // A text that reaches beyond the end makes the file longer.
  virtual bool OverwriteFileString(const Char* path, std::uint32_t position, const String* text) = 0;
  // A count that reaches beyond the end means up to the end.
  virtual bool DeleteFileBytes(const Char* path, std::uint32_t position, std::uint32_t count) = 0;

  // Replaces the file's content by the bytes so that a reader, and a crash at any moment, finds the old content or the
  // new one, never a mixture: a new file takes the old one's name and permissions. Other names of the old file (hard
  // links) keep the old content. Where the directory takes no new file, the file itself is written, and a crash may
  // lose it. False leaves the old content. Of several at once each waits for its turn, and the last one stays; one that
  // waits for longer than two seconds fails.
  virtual bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size) = 0;

  // Why the calling thread's last call of this object that failed did so, through either face: the operation's name
  // (an asynchronous call's is that of the operation that it does; it fails on the thread that calls `Completed`), the
  // path at fault, which for a tree is the first entry's, and the reason in words, one of those in FileReasons.h where
  // the system gave it. Each may be null. Looking for something that is not there counts ("no such file"), and so does
  // a listing that left something out, although it answers true; a complete listing forgets what was before it. False
  // when there was no such call, or the outputs do not take the texts. Threads beyond the last 64 that failed are
  // forgotten.
  virtual bool GetLastFailure(String* operation, String* path, String* reason) = 0;

  // Returns when all that file systems of this process have written is on the disk: files, copies and the names of
  // both, as far as their calls had returned before. A replacement is on the disk when it answers true; appends, writes
  // and copies are not, so that many of them cost one flush: call this before something is recorded as done. May take
  // as long as other programs' writing to the same disks takes. False when a disk refused; what it lost is unknown.
  virtual bool FlushWrites() = 0;

 protected:
  ~IFileSystemEdits() = default;
};

// Narrow paths and texts. The base operations AddContentDirectory and ResetContentDirectories set the directories in
// which CopyOneFile looks for its source; both faces share them.
class IFileSystemA : public IFileSystemEdits<char, IFileSystemContent<char, IFileSystemStart<char>>> {
 protected:
  ~IFileSystemA() = default;
};

// The two operations that only the wide face has.
class IFileSystemWideReading : public IFileSystemStart<char16_t> {
 public:
  // The file's bytes as UTF-16 little-endian text. The first character is taken to be the mark and goes, whatever it
  // is; after FE FF the bytes of all others are swapped. An odd byte at the end goes, too; zeros stay. A file of less
  // than two bytes is the empty text.
  virtual bool ReadFileToWideString(const char16_t* path, IOrvString* text) = 0;

 protected:
  ~IFileSystemWideReading() = default;
};
class IFileSystemWideContent : public IFileSystemContent<char16_t, IFileSystemWideReading> {
 public:
  // As WriteFileText, with the mark FF FE before the text.
  virtual bool WriteFileTextUnicode(const char16_t* path, const char16_t* text) = 0;

 protected:
  ~IFileSystemWideContent() = default;
};

// Wide paths and texts.
class IFileSystemW : public IFileSystemEdits<char16_t, IFileSystemWideContent> {
 protected:
  ~IFileSystemW() = default;
};

}  // namespace OrvWorkFlow
