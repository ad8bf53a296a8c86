// Files and directories by workflow path or platform path, in narrow and wide characters.
//
// A workflow path begins with "$" and holds no backslash: "$WINTEMP/a/b.txt" (macros $TEMP, $PERMANENT, $HOSTEXEC,
// $WINDIR, $WINSYSDIR, $PROGRAMFILES, $WINTEMP) or "$FlowName/data/list.txt" (beside that workflow's definition file).
// A workflow path that ends in "/" keeps its separator and names no directory. Any other string is a platform path.
// Platform paths have Windows shape on every platform; on Linux "C:" is a private prefix directory, "Z:" is "/", and a
// path that begins with "/" is the host's own.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

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

// The operations of both widths, in table order. Any thread. False means failure; there is no last error. Outputs are
// replaced on success and untouched on failure. No operation leaves a handle open. A wide operation that the system
// refuses is tried once more in narrow characters, if the path loses nothing by that.
template <class Char>
class IFileSystemOf : public virtual IBaseWorkFlowObject {
 public:
  using String = typename MarshalledTypes<Char>::String;
  using StringList = typename MarshalledTypes<Char>::StringList;

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
  virtual bool DeleteDirectory(const Char* path) = 0;

  // Every file (every directory) below the directory, with full paths, in the caller's form: workflow paths for a
  // workflow path. A directory's own entries come first, then each subdirectory in turn. Links are listed, not entered.
  virtual bool ListFiles(const Char* path, StringList* files) = 0;
  virtual bool ListDirectories(const Char* path, StringList* directories) = 0;

  // Copies one file. A source that does not exist is looked for in the content directories. The directory of a
  // destination that holds a "/" is made. The copy is never read-only. Without `overwrite` an existing destination
  // fails.
  virtual bool CopyOneFile(const Char* source, const Char* destination, bool overwrite) = 0;

  virtual bool FileExists(const Char* path) = 0;
  virtual bool DirectoryExists(const Char* path) = 0;

  // Deletes one file, also a read-only one. A file that does not exist is success.
  virtual bool RemoveFile(const Char* path) = 0;

  // In bytes, the low 32 bits; the sum over all files for a directory; 0 on failure.
  virtual std::uint32_t FileSize(const Char* path) = 0;

  // Creates an empty file, and its directory, if it is missing.
  virtual bool MakeFile(const Char* path) = 0;

  // The text up to the first zero byte; the wide face widens the file's narrow text.
  virtual bool ReadFileToString(const Char* path, String* text) = 0;
  virtual bool ReadFileToStream(const Char* path, IOrvBasicStream* stream) = 0;

  // Replace the file's content, creating file and directory if missing. A read-only file fails. The wide face writes a
  // text as UTF-16 little-endian without a mark.
  virtual bool WriteFileBytes(const Char* path, const void* data, std::size_t size) = 0;
  virtual bool WriteFileText(const Char* path, const Char* text) = 0;
  virtual bool WriteFileString(const Char* path, const String* text) = 0;

  // Appends at the end, creating the file if missing.
  virtual bool AppendFileString(const Char* path, const String* text) = 0;

  // Replaces the file's content by the bytes so that a reader, and a crash at any moment, finds the old content or the
  // new one, never a mixture. The file's permissions stay. False leaves the old content.
  virtual bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size) = 0;

 protected:
  ~IFileSystemOf() = default;
};

// The base operations AddContentDirectory and ResetContentDirectories set the directories in which CopyOneFile looks
// for its source.
class IFileSystemA : public IFileSystemOf<char> {
 protected:
  ~IFileSystemA() = default;
};
class IFileSystemW : public IFileSystemOf<char16_t> {
 protected:
  ~IFileSystemW() = default;
};

}  // namespace OrvWorkFlow
