// What the asynchronous operations of a file system tell their caller.
#pragma once

namespace OrvWorkFlow {

// Implemented by the caller, who owns it; it must live until `Completed` has returned. All is called on the file
// system's worker thread, never two calls at a time. Implementations may throw: what a "found" call throws counts as
// false, what `Completed` throws is swallowed. From within a call the file system may be used, given its next
// asynchronous call (from within `Completed`), and released.
template <class Char>
class IFileSystemNotificationOf {
 public:
  // A file, in the form of the caller's path: a workflow path for a workflow path. The text is valid during the call
  // only. False stops the walk, which has then failed.
  virtual bool FileFound(const Char* path) = 0;
  // The same for a directory.
  virtual bool DirectoryFound(const Char* path) = 0;
  // The end of an accepted call, with its result: exactly once, and last. Never for a call that was refused.
  virtual void Completed(bool succeeded) = 0;

 protected:
  ~IFileSystemNotificationOf() = default;
};

using IFileSystemNotificationA = IFileSystemNotificationOf<char>;
using IFileSystemNotificationW = IFileSystemNotificationOf<char16_t>;

}  // namespace OrvWorkFlow
