// One of the two faces of the file-system object.
#pragma once

#include <type_traits>

#include "OrvWorkFlow/IFileSystem.h"
#include "filesystem/Operations.h"

namespace OrvWorkFlow {

template <class Char>
using FileSystemInterface = std::conditional_t<sizeof(Char) == 1, IFileSystemA, IFileSystemW>;

// Hands every call to the operations; what they throw becomes false or 0. The object that derives from it sets
// `operations_` before anybody can call it.
template <class Char>
class FileSystemFace : public FileSystemInterface<Char> {
 public:
  using String = typename MarshalledTypes<Char>::String;
  using StringList = typename MarshalledTypes<Char>::StringList;

  bool WorkflowPathToPlatformPath(const Char* path, Char* buffer, std::size_t capacity, std::size_t* length) override {
    return Guarded([&] { return operations_->WorkflowPathToPlatformPath(path, buffer, capacity, length); });
  }
  bool WorkflowPathToPlatformPathString(const Char* path, String* platform_path) override {
    return Guarded([&] { return operations_->WorkflowPathToPlatformPathString(path, platform_path); });
  }
  bool MakeDirectory(const Char* path) override {
    return Guarded([&] { return operations_->MakeDirectory(path); });
  }
  bool DeleteDirectory(const Char* path) override {
    return Guarded([&] { return operations_->DeleteDirectory(path); });
  }
  bool ListFiles(const Char* path, StringList* files) override {
    return Guarded([&] { return operations_->ListFiles(path, files); });
  }
  bool ListDirectories(const Char* path, StringList* directories) override {
    return Guarded([&] { return operations_->ListDirectories(path, directories); });
  }
  bool CopyOneFile(const Char* source, const Char* destination, bool overwrite) override {
    return Guarded([&] { return operations_->CopyOneFile(source, destination, overwrite); });
  }
  bool FileExists(const Char* path) override {
    return Guarded([&] { return operations_->FileExists(path); });
  }
  bool DirectoryExists(const Char* path) override {
    return Guarded([&] { return operations_->DirectoryExists(path); });
  }
  bool RemoveFile(const Char* path) override {
    return Guarded([&] { return operations_->RemoveFile(path); });
  }
  std::uint32_t FileSize(const Char* path) override {
    return Guarded([&] { return operations_->FileSize(path); });
  }
  bool MakeFile(const Char* path) override {
    return Guarded([&] { return operations_->MakeFile(path); });
  }
  bool ReadFileToString(const Char* path, String* text) override {
    return Guarded([&] { return operations_->ReadFileToString(path, text); });
  }
  bool ReadFileToStream(const Char* path, IOrvBasicStream* stream) override {
    return Guarded([&] { return operations_->ReadFileToStream(path, stream); });
  }
  bool WriteFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Guarded([&] { return operations_->WriteFileBytes(path, data, size); });
  }
  bool WriteFileText(const Char* path, const Char* text) override {
    return Guarded([&] { return operations_->WriteFileText(path, text); });
  }
  bool WriteFileString(const Char* path, const String* text) override {
    return Guarded([&] { return operations_->WriteFileString(path, text); });
  }
  bool AppendFileString(const Char* path, const String* text) override {
    return Guarded([&] { return operations_->AppendFileString(path, text); });
  }
  bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Guarded([&] { return operations_->ReplaceFileBytes(path, data, size); });
  }

 protected:
  FileSystemFace() = default;
  FileSystemFace(const FileSystemFace&) = delete;
  FileSystemFace& operator=(const FileSystemFace&) = delete;
  ~FileSystemFace() = default;

  Operations<Char>* operations_ = nullptr;

 private:
  template <class Call>
  static auto Guarded(const Call& call) noexcept -> decltype(call()) {
    try {
      return call();
    } catch (...) {
      return {};
    }
  }
};

}  // namespace OrvWorkFlow
