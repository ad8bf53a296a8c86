// What the tests of asynchronous operations share.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem::AsyncTesting {

using Names = std::vector<std::string>;

inline constexpr char kInProgress[] =
    "/errors/asynchronous call already in progress|An asynchronous operation is already in progress.";

// Writes down what it is told, and does in it what the test says.
template <class Char>
class Listener final : public IFileSystemNotificationOf<Char> {
 public:
  std::function<bool()> on_found;          // The answer; without it, true.
  std::function<void(bool)> on_completed;  // Before anybody who waits is woken.

  bool FileFound(const Char* path) override { return Found("file ", path); }
  bool DirectoryFound(const Char* path) override { return Found("directory ", path); }
  void Completed(bool succeeded) override {
    Record(succeeded ? "true" : "false");
    if (on_completed) on_completed(succeeded);
    const std::scoped_lock lock(mutex_);
    ++completed_;
    changed_.notify_all();
  }

  // Waits for the n-th completion, counted from 1.
  void Wait(int n = 1) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return completed_ >= n; });
  }
  Names Told() const {
    const std::scoped_lock lock(mutex_);
    return told_;
  }
  std::thread::id Thread() const {
    const std::scoped_lock lock(mutex_);
    return thread_;
  }

 private:
  bool Found(const char* what, const Char* path) {
    Record(what + orv_test::Ascii(std::basic_string<Char>(path)));
    return !on_found || on_found();
  }
  void Record(const std::string& what) {
    const std::scoped_lock lock(mutex_);
    told_.push_back(what);
    thread_ = std::this_thread::get_id();
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  Names told_;
  std::thread::id thread_;
  int completed_ = 0;
};

// Holds a notification until the test opens it.
class Gate {
 public:
  // In the notification.
  void Pass() {
    std::unique_lock lock(mutex_);
    reached_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
  }
  void WaitUntilReached() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return reached_; });
  }
  void Open() {
    const std::scoped_lock lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool reached_ = false;
  bool open_ = false;
};

template <class Char>
class Asynchronous : public orv_test::FileSystemTest<Char> {
 protected:
  using Face = typename orv_test::FileSystemTest<Char>::Face;

  Asynchronous() {
    for (const char* name : {"t/a", "t/b/c", "t/b/d/e"}) this->MakeFile(name, name);
    tree_ = this->At("t");
  }

  // An object that the test releases itself.
  struct Object {
    CFileSystem* object = new CFileSystem;
    Face* face = static_cast<Face*>(object->QueryInterface(sizeof(Char) == 1 ? "IFileSystemA" : "IFileSystemW"));
  };

  // A call that ends at once, successfully.
  bool StartSmallCall(Face* face, Listener<Char>* listener) {
    return face->DeleteDirectoryAsync(missing_.c_str(), listener);
  }

  std::basic_string<Char> tree_;
  std::basic_string<Char> missing_ = this->At("missing");
};

}  // namespace OrvWorkFlow::Core::FileSystem::AsyncTesting
