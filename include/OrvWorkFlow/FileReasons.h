// The words in which IFileSystem::GetLastFailure says why. The same on every platform, and they stay: programs may
// compare them.
#pragma once

namespace OrvWorkFlow::FileReasons {

inline constexpr const char* kNotFound = "no such file";
inline constexpr const char* kDenied = "permission denied";
inline constexpr const char* kMarkedReadOnly = "marked read-only";
inline constexpr const char* kReadOnlyDisk = "read-only disk";
inline constexpr const char* kInUse = "in use";
inline constexpr const char* kNoSpace = "no space left on device";
inline constexpr const char* kNoQuota = "disk quota exceeded";
inline constexpr const char* kTooLarge = "file too large";
inline constexpr const char* kExists = "already exists";
inline constexpr const char* kIsFolder = "is a folder";
inline constexpr const char* kNotPlainFile = "not a plain file";
inline constexpr const char* kNotEmpty = "folder not empty";
inline constexpr const char* kNameTooLong = "name too long";
inline constexpr const char* kInvalidName = "no path can hold this name";
inline constexpr const char* kTooManyLinks = "too many links";
inline constexpr const char* kTooManyOpen = "too many open files";
inline constexpr const char* kDiskFailed = "input/output error";
inline constexpr const char* kNoMemory = "out of memory";
inline constexpr const char* kSameFile = "source and destination are the same file";
inline constexpr const char* kSameName = "two names of the source are one at the destination";
inline constexpr const char* kLinkToFolder = "a link to a folder is not copied";
inline constexpr const char* kRoot = "a root is not deleted or listed";
inline constexpr const char* kStopped = "stopped";
inline constexpr const char* kNotHandedOver = "the result could not be handed over";
// Followed by " (system error N)" where the system gave a number.
inline constexpr const char* kUnknown = "refused by the system";

}  // namespace OrvWorkFlow::FileReasons
