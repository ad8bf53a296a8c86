// Where the file system names its failures.
#pragma once

namespace OrvWorkFlow::Core::FileSystem {

struct Failure {
  const char* key;
  const char* message;
  bool of_the_system = true;  // The system can say more than the message.
};

namespace Failures {
inline constexpr Failure kInvalidParameter{"/errors/invalid parameter", "Invalid parameter.", false};
inline constexpr Failure kTranslation{"/errors/workflow path to platform path translation err",
                                      "Unable to transform a workflow path to a platform path.", false};
inline constexpr Failure kNoEngine{"/errors/IWorkFlow object required",
                                   "The global workflow object is required but unavailable.", false};
inline constexpr Failure kUnknownWorkflow{
    "/errors/IWorkFlow cannot convert workflow name to path",
    "The global workflow object was unable to find a workflow path for the requested workflow name.", false};
inline constexpr Failure kCannotCreateDirectory{"/errors/cannot create directory", "Cannot create directory."};
inline constexpr Failure kCannotDeleteDirectory{"/errors/cannot delete directory", "Cannot delete directory."};
inline constexpr Failure kNoDirectoryForFiles{"/errors/directory does not exist", "The directory does not exist."};
inline constexpr Failure kNoDirectoryForDirectories{"/errors/directory does not exist",
                                                    "The directory requested does not exist."};
inline constexpr Failure kSourceMissing{"/errors/source file does not exist", "The source file does not exist."};
inline constexpr Failure kDestinationMissing{"/errors/destination file does not exist",
                                             "The destination file does not exist."};
inline constexpr Failure kCopyFailed{"/errors/copy file failed", "Copy file failed."};
inline constexpr Failure kCannotDeleteFile{"/errors/cannot delete file", "Cannot delete file."};
// One key with two messages: a file whose size is wanted, and a file to be made.
inline constexpr Failure kCannotOpenForSize{"/errors/cannot create the file", "Unable to open the file."};
inline constexpr Failure kCannotCreateFile{"/errors/cannot create the file", "Unable to create the file."};
inline constexpr Failure kCannotOpenFile{"/errors/cannot open file", "Cannot open file."};
inline constexpr Failure kCannotReadFile{"/errors/cannot read file", "Cannot read file."};
inline constexpr Failure kCannotWriteFile{"/errors/cannot write file", "Cannot write file."};
inline constexpr Failure kInProgress{"/errors/asynchronous call already in progress",
                                     "An asynchronous operation is already in progress.", false};
inline constexpr Failure kNoThread{"/errors/cannot set the procedure for the thread",
                                   "Cannot set the thread proc func.", false};
}  // namespace Failures

// Every failure of the file system passes here, at the place where it happens. An object's own hook (FailureRecorder.h)
// keeps it for the caller and passes it on to the one that the object was given. Tests put one that listens there.
class ErrorHook {
 public:
  // Any thread. Answers false, for `return hook.Report(...)`.
  virtual bool Report(const Failure& failure) noexcept;

 protected:
  ~ErrorHook() = default;
};

// The hook of every file system that is given no other.
ErrorHook& SilentErrorHook() noexcept;

}  // namespace OrvWorkFlow::Core::FileSystem
