// The two faces of the file-system object.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>

#include "OrvWorkFlow/IFileSystem.h"
#include "filesystem/FileSystemCore.h"

namespace OrvWorkFlow {

template <class Char>
using FileSystemInterface = std::conditional_t<sizeof(Char) == 1, IFileSystemA, IFileSystemW>;

// Hands every call to the operations; what they throw becomes false or 0. The object that derives from it sets `core_`
// before anybody can call it.
template <class Char>
class FileSystemFace : public FileSystemInterface<Char> {
 public:
  using Text = std::basic_string<Char>;
  using String = typename MarshalledTypes<Char>::String;
  using StringList = typename MarshalledTypes<Char>::StringList;
  using Notification = IFileSystemNotificationOf<Char>;

  bool WorkflowPathToPlatformPath(const Char* path, Char* buffer, std::size_t capacity, std::size_t* length) override {
    return Guarded([&] { return Files().WorkflowPathToPlatformPath(path, buffer, capacity, length); });
  }
  bool WorkflowPathToPlatformPathString(const Char* path, String* platform_path) override {
    return Guarded([&] { return Files().WorkflowPathToPlatformPathString(path, platform_path); });
  }
  bool MakeDirectory(const Char* path) override {
    return Guarded([&] { return Files().MakeDirectory(path); });
  }
  bool DeleteDirectoryAsync(const Char* path, Notification* notification) override {
    return Begin(
        notification, [](auto& files, const Text& one) { return files.DeleteDirectory(one.c_str()); }, path);
  }
  bool DeleteDirectory(const Char* path) override {
    return Guarded([&] { return Files().DeleteDirectory(path); });
  }
  bool ListFilesAsync(const Char* path, Notification* notification) override {
    const auto list = [notification](auto& files, const Text& one) {
      return files.NotifyFiles(one.c_str(), *notification);
    };
    return Begin(notification, list, path);
  }
  bool ListFiles(const Char* path, StringList* files) override {
    return Guarded([&] { return Files().ListFiles(path, files); });
  }
  bool ListDirectoriesAsync(const Char* path, Notification* notification) override {
    const auto list = [notification](auto& files, const Text& one) {
      return files.NotifyDirectories(one.c_str(), *notification);
    };
    return Begin(notification, list, path);
  }
  bool ListDirectories(const Char* path, StringList* directories) override {
    return Guarded([&] { return Files().ListDirectories(path, directories); });
  }
  bool CopyOneFileAsync(const Char* source, const Char* destination, bool overwrite,
                        Notification* notification) override {
    const auto copy = [overwrite](auto& files, const Text& from, const Text& to) {
      return files.CopyOneFile(from.c_str(), to.c_str(), overwrite);
    };
    return Begin(notification, copy, source, destination);
  }
  bool CopyOneFile(const Char* source, const Char* destination, bool overwrite) override {
    return Guarded([&] { return Files().CopyOneFile(source, destination, overwrite); });
  }
  bool CopyDirectoryAsync(const Char* source, const Char* destination, bool overwrite,
                          Notification* notification) override {
    const auto copy = [overwrite](auto& files, const Text& from, const Text& to) {
      return files.CopyDirectory(from.c_str(), to.c_str(), overwrite);
    };
    return Begin(notification, copy, source, destination);
  }
  bool CopyDirectory(const Char* source, const Char* destination, bool overwrite) override {
    return Guarded([&] { return Files().CopyDirectory(source, destination, overwrite); });
  }
  bool FileExists(const Char* path) override {
    return Guarded([&] { return Files().FileExists(path); });
  }
  bool DirectoryExists(const Char* path) override {
    return Guarded([&] { return Files().DirectoryExists(path); });
  }
  bool RemoveFile(const Char* path) override {
    return Guarded([&] { return Files().RemoveFile(path); });
  }
  std::uint32_t FileSize(const Char* path) override {
    return Guarded([&] { return Files().FileSize(path); });
  }
  bool MakeFile(const Char* path) override {
    return Guarded([&] { return Files().MakeFile(path); });
  }
  bool ReadFileRange(const Char* path, std::uint32_t first, std::uint32_t last, IOrvBasicStream* stream) override {
    return Guarded([&] { return Files().ReadFileRange(path, first, last, stream); });
  }
  bool ReadFileToString(const Char* path, String* text) override {
    return Guarded([&] { return Files().ReadFileToString(path, text); });
  }
  bool ReadFileToStream(const Char* path, IOrvBasicStream* stream) override {
    return Guarded([&] { return Files().ReadFileToStream(path, stream); });
  }
  bool WriteFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Guarded([&] { return Files().WriteFileBytes(path, data, size); });
  }
  bool WriteFileText(const Char* path, const Char* text) override {
    return Guarded([&] { return Files().WriteFileText(path, text); });
  }
  bool WriteFileString(const Char* path, const String* text) override {
    return Guarded([&] { return Files().WriteFileString(path, text); });
  }
  bool AppendFileString(const Char* path, const String* text) override {
    return Guarded([&] { return Files().AppendFileString(path, text); });
  }
  bool PrependFileString(const Char* path, const String* text) override {
    return Guarded([&] { return Files().PrependFileString(path, text); });
  }
  bool InsertFileString(const Char* path, std::uint32_t position, const String* text) override {
    return Guarded([&] { return Files().InsertFileString(path, position, text); });
  }
  bool OverwriteFileString(const Char* path, std::uint32_t position, const String* text) override {
    return Guarded([&] { return Files().OverwriteFileString(path, position, text); });
  }
  bool DeleteFileBytes(const Char* path, std::uint32_t position, std::uint32_t count) override {
    return Guarded([&] { return Files().DeleteFileBytes(path, position, count); });
  }
  bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Guarded([&] { return Files().ReplaceFileBytes(path, data, size); });
  }

 protected:
  FileSystemFace() = default;
  FileSystemFace(const FileSystemFace&) = delete;
  FileSystemFace& operator=(const FileSystemFace&) = delete;
  ~FileSystemFace() = default;

  Operations<Char>& Files() { return core_->template For<Char>(); }

  template <class Call>
  static auto Guarded(const Call& call) noexcept -> decltype(call()) {
    try {
      return call();
    } catch (...) {
      return {};
    }
  }

  std::shared_ptr<FileSystemCore> core_;

 private:
  // Has `work(operations, paths...)` done on the worker, with copies of the paths.
  template <class Work, class... Paths>
  bool Begin(Notification* notification, const Work& work, Paths... paths) {
    const auto is_missing = [](const Char* path) { return path == nullptr || *path == 0; };
    if (notification == nullptr || (is_missing(paths) || ...)) return Refuse(Failures::kInvalidParameter);
    return Guarded([&] {
      FileSystemCore* core = core_.get();  // The worker's thread keeps it.
      const auto run = [core, work, ... copies = Text(paths)] {
        return !core->parts.stopping && work(core->template For<Char>(), copies...);
      };
      const auto completed = [notification](bool succeeded) { notification->Completed(succeeded); };
      switch (core->worker.Start(core_, {run, completed})) {
        case AsyncWorker::StartResult::Started:
          return true;
        case AsyncWorker::StartResult::InProgress:
          return Refuse(Failures::kInProgress);
        case AsyncWorker::StartResult::NoThread:
          break;
      }
      return Refuse(Failures::kNoThread);
    });
  }
  bool Refuse(const Failure& failure) { return core_->parts.hook.Report(failure); }
};

// With the operations that only this one has.
class WideFace : public FileSystemFace<char16_t> {
 public:
  bool ReadFileToWideString(const char16_t* path, IOrvString* text) override {
    return Guarded([&] { return Files().ReadFileToWideString(path, text); });
  }
  bool WriteFileTextUnicode(const char16_t* path, const char16_t* text) override {
    return Guarded([&] { return Files().WriteFileTextUnicode(path, text); });
  }

 protected:
  ~WideFace() = default;
};

}  // namespace OrvWorkFlow
