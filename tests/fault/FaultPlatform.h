// A platform that forwards to another one and fails on demand.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Platform.h"

namespace OrvWorkFlow::Core::System {

// What can be made to fail.
enum class PlatformCall {
  GetAttributes,
  SetAttributes,
  IsWritableFile,
  Open,
  CopyOver,
  RemoveOneFile,
  RenameOver,
  CopyPermissions,
  FollowLink,
  Read,
  Write,
  GetSize,
  MoveTo,
  SetEnd,
  Flush,
  Close,
  CreateOneDirectory,
  RemoveOneDirectory,
  FindFirst,
  OpenTree,
  List,
  SetAttributesIn,
  RemoveFileIn,
  RemoveDirectoryIn,
  CreateDirectoryIn,
  CopyIn,
  Location,  // Any of the queries.
  Widen,
  Narrow,
  FlushAll,
  TakeTurn,
};

// A call that fails does not reach the system, except that a handle is closed all the same. Calls are counted from 1,
// over all threads. Set the switches while nobody calls.
class FaultPlatform {
 public:
  // `real` must outlive this.
  explicit FaultPlatform(const Platform& real = SystemPlatform());
  ~FaultPlatform();
  FaultPlatform(const FaultPlatform&) = delete;
  FaultPlatform& operator=(const FaultPlatform&) = delete;

  // Lives as long as this.
  const Platform& platform() const;

  // Every call in wide characters fails, as on a system that lacks them.
  void FailWideCalls(bool fail);
  // The n-th call from now on fails, whatever it is; 0 for none.
  void FailCall(std::uint64_t n);
  // The n-th call of that kind from now on fails; 0 for none. One kind at a time.
  void FailCall(PlatformCall call, std::uint64_t n);
  // With that result, as far as the call has one; Failed at first.
  void SetFailure(SystemResult result);
  // From the n-th call on nothing reaches the system any more, as if the process had been killed; 0 for never.
  // `killed` (may be empty) is called once, at that moment, on the calling thread.
  void KillAt(std::uint64_t n, std::function<void()> killed = {});
  // Writes fail when they go beyond so many bytes in all, having written what fits.
  void SetDiskSpace(std::uint64_t bytes);
  void SetUnlimitedDiskSpace();

  // Since the last switch was set; calls made after a kill are not counted.
  std::uint64_t calls() const;
  // Files and trees that are open now.
  int open_handles() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace OrvWorkFlow::Core::System
