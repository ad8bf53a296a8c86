// The two faces of the file-system object.
#pragma once

#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "OrvWorkFlow/IFileSystem.h"
#include "base/guard/Guarded.h"
#include "filesystem/FileSystemCore.h"
#include "platform/PathMemory.h"

namespace OrvWorkFlow::Core::FileSystem {

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
    return Told("WorkflowPathToPlatformPath", path,
                [&] { return Files().WorkflowPathToPlatformPath(path, buffer, capacity, length); });
  }
  bool WorkflowPathToPlatformPathString(const Char* path, String* platform_path) override {
    return Told("WorkflowPathToPlatformPathString", path,
                [&] { return Files().WorkflowPathToPlatformPathString(path, platform_path); });
  }
  bool MakeDirectory(const Char* path) override {
    return Told("MakeDirectory", path, [&] { return Files().MakeDirectory(path); });
  }
  bool DeleteDirectoryAsync(const Char* path, Notification* notification) override {
    return Begin(
        "DeleteDirectory", RunningCall::End::Succeeded, notification,
        [](auto& files, const Text& one) { return files.DeleteDirectory(one.c_str()); }, path);
  }
  bool DeleteDirectory(const Char* path) override {
    return Told("DeleteDirectory", path, [&] { return Files().DeleteDirectory(path); });
  }
  bool ListFilesAsync(const Char* path, Notification* notification) override {
    const auto list = [notification](auto& files, const Text& one) {
      return files.NotifyFiles(one.c_str(), *notification);
    };
    return Begin("ListFiles", RunningCall::End::Complete, notification, list, path);
  }
  bool ListFiles(const Char* path, StringList* files) override {
    return Listed("ListFiles", path, [&] { return Files().ListFiles(path, files); });
  }
  bool ListDirectoriesAsync(const Char* path, Notification* notification) override {
    const auto list = [notification](auto& files, const Text& one) {
      return files.NotifyDirectories(one.c_str(), *notification);
    };
    return Begin("ListDirectories", RunningCall::End::Complete, notification, list, path);
  }
  bool ListDirectories(const Char* path, StringList* directories) override {
    return Listed("ListDirectories", path, [&] { return Files().ListDirectories(path, directories); });
  }
  bool CopyOneFileAsync(const Char* source, const Char* destination, bool overwrite,
                        Notification* notification) override {
    const auto copy = [overwrite](auto& files, const Text& from, const Text& to) {
      return files.CopyOneFile(from.c_str(), to.c_str(), overwrite);
    };
    return Begin("CopyOneFile", RunningCall::End::Succeeded, notification, copy, source, destination);
  }
  bool CopyOneFile(const Char* source, const Char* destination, bool overwrite) override {
    return Told("CopyOneFile", source, [&] { return Files().CopyOneFile(source, destination, overwrite); });
  }
  bool CopyDirectoryAsync(const Char* source, const Char* destination, bool overwrite,
                          Notification* notification) override {
    const auto copy = [overwrite](auto& files, const Text& from, const Text& to) {
      return files.CopyDirectory(from.c_str(), to.c_str(), overwrite);
    };
    return Begin("CopyDirectory", RunningCall::End::Succeeded, notification, copy, source, destination);
  }
  bool CopyDirectory(const Char* source, const Char* destination, bool overwrite) override {
    return Told("CopyDirectory", source, [&] { return Files().CopyDirectory(source, destination, overwrite); });
  }
  bool FileExists(const Char* path) override {
    return Told("FileExists", path, [&] { return Files().FileExists(path); });
  }
  bool DirectoryExists(const Char* path) override {
    return Told("DirectoryExists", path, [&] { return Files().DirectoryExists(path); });
  }
  bool RemoveFile(const Char* path) override {
    return Told("RemoveFile", path, [&] { return Files().RemoveFile(path); });
  }
  std::uint32_t FileSize(const Char* path) override {
    return Told("FileSize", path, [&] { return Files().FileSize(path); });
  }
  bool MakeFile(const Char* path) override {
    return Told("MakeFile", path, [&] { return Files().MakeFile(path); });
  }
  bool ReadFileRange(const Char* path, std::uint32_t first, std::uint32_t last, IOrvBasicStream* stream) override {
    return Told("ReadFileRange", path, [&] { return Files().ReadFileRange(path, first, last, stream); });
  }
  bool ReadFileToString(const Char* path, String* text) override {
    return Told("ReadFileToString", path, [&] { return Files().ReadFileToString(path, text); });
  }
  bool ReadFileToStream(const Char* path, IOrvBasicStream* stream) override {
    return Told("ReadFileToStream", path, [&] { return Files().ReadFileToStream(path, stream); });
  }
  bool WriteFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Told("WriteFileBytes", path, [&] { return Files().WriteFileBytes(path, data, size); });
  }
  bool WriteFileText(const Char* path, const Char* text) override {
    return Told("WriteFileText", path, [&] { return Files().WriteFileText(path, text); });
  }
  bool WriteFileString(const Char* path, const String* text) override {
    return Told("WriteFileString", path, [&] { return Files().WriteFileString(path, text); });
  }
  bool AppendFileString(const Char* path, const String* text) override {
    return Told("AppendFileString", path, [&] { return Files().AppendFileString(path, text); });
  }
  bool PrependFileString(const Char* path, const String* text) override {
    return Told("PrependFileString", path, [&] { return Files().PrependFileString(path, text); });
  }
  bool InsertFileString(const Char* path, std::uint32_t position, const String* text) override {
    return Told("InsertFileString", path, [&] { return Files().InsertFileString(path, position, text); });
  }
  bool OverwriteFileString(const Char* path, std::uint32_t position, const String* text) override {
    return Told("OverwriteFileString", path, [&] { return Files().OverwriteFileString(path, position, text); });
  }
  bool DeleteFileBytes(const Char* path, std::uint32_t position, std::uint32_t count) override {
    return Told("DeleteFileBytes", path, [&] { return Files().DeleteFileBytes(path, position, count); });
  }
  bool ReplaceFileBytes(const Char* path, const void* data, std::size_t size) override {
    return Told("ReplaceFileBytes", path, [&] { return Files().ReplaceFileBytes(path, data, size); });
  }
  bool GetLastFailure(String* operation, String* path, String* reason) override {
    return Base::Guarded([&] { return Files().GetLastFailure(operation, path, reason); });
  }
  bool FlushWrites() override {
    return Told("FlushWrites", static_cast<const Char*>(nullptr), [&] { return Files().FlushWrites(); });
  }

 protected:
  FileSystemFace() = default;
  FileSystemFace(const FileSystemFace&) = delete;
  FileSystemFace& operator=(const FileSystemFace&) = delete;
  ~FileSystemFace() = default;

  Operations<Char>& Files() { return core_->template For<Char>(); }

  // Makes the call as `operation`, and keeps why it failed.
  template <class Call>
  auto Told(const char* operation, const Char* path, const Call& call) noexcept -> decltype(call()) {
    return Told(core_->parts.hook, operation, path, RunningCall::End::Succeeded, call);
  }
  // The same for a listing, which may succeed and leave something out.
  template <class Call>
  bool Listed(const char* operation, const Char* path, const Call& call) noexcept {
    return Told(core_->parts.hook, operation, path, RunningCall::End::Complete, call);
  }
  template <class Call>
  static auto Told(FailureRecorder& recorder, const char* operation, const Char* path, RunningCall::End success,
                   const Call& call) noexcept -> decltype(call()) {
    const System::PathMemory paths;
    RunningCall running(recorder, operation, path);
    decltype(call()) result{};
    try {
      result = call();
    } catch (const std::bad_alloc&) {
      recorder.Note(System::Reason::NoMemory);
    } catch (...) {
      recorder.Note(System::Reason::NotHandedOver);
    }
    running.Finish(Succeeded(running, result) ? success : RunningCall::End::Failed);
    return result;
  }
  static bool Succeeded(const RunningCall& /*call*/, bool result) { return result; }
  // A size of 0 is a failure when one was reported.
  static bool Succeeded(const RunningCall& call, std::uint32_t result) { return result != 0 || !call.HasReason(); }

  std::shared_ptr<FileSystemCore> core_;

 private:
  // Has `work(operations, paths...)` done on the worker, with copies of the paths.
  template <class Work, class... Paths>
  bool Begin(const char* operation, RunningCall::End success, Notification* notification, const Work& work,
             const Char* path, Paths... paths) {
    const auto is_missing = [](const Char* one) { return one == nullptr || *one == 0; };
    return Told(operation, path, [&] {
      if (notification == nullptr || is_missing(path) || (is_missing(paths) || ...)) {
        return Refuse(Failures::kInvalidParameter);
      }
      FileSystemCore* core = core_.get();  // The worker's thread keeps it.
      const auto run = [core, operation, success, work, first = Text(path), ... copies = Text(paths)] {
        return Told(core->parts.hook, operation, first.c_str(), success, [&] {
          if (core->parts.stopping) return core->parts.hook.Note(System::Reason::Stopped);
          return work(core->template For<Char>(), first, copies...);
        });
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
    return Told("ReadFileToWideString", path, [&] { return Files().ReadFileToWideString(path, text); });
  }
  bool WriteFileTextUnicode(const char16_t* path, const char16_t* text) override {
    return Told("WriteFileTextUnicode", path, [&] { return Files().WriteFileTextUnicode(path, text); });
  }

 protected:
  ~WideFace() = default;
};

}  // namespace OrvWorkFlow::Core::FileSystem
