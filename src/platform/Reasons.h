// Why the system, or this folder in its place, refused a call.
#pragma once

#include <cstdint>

namespace OrvWorkFlow::Core::System {

enum class Reason : std::uint8_t {
  Unknown,
  NotFound,
  Denied,
  MarkedReadOnly,
  ReadOnlyDisk,
  InUse,
  NoSpace,
  NoQuota,
  TooLarge,
  Exists,
  IsFolder,
  NotPlainFile,
  NotEmpty,
  NameTooLong,
  InvalidName,
  TooManyLinks,
  TooManyOpen,
  DiskFailed,
  NoMemory,
  SameFile,
  SameName,      // Two names of a folder are one at the destination of a copy.
  LinkToFolder,  // A copy of a tree leaves it out.
  Root,
  Stopped,
  NotHandedOver,  // A marshalled object, a buffer or a notification of the caller did not take the result.
};

// The calling thread's last failed call of this folder. The codes are the system's, and those of RefusalCode. A call
// that succeeds may change the code as well, so whoever wants it asks at once. Any thread; nothing throws.
class Reasons {
 public:
  virtual std::uint32_t LastCode() noexcept = 0;
  virtual void SetLastCode(std::uint32_t code) noexcept = 0;
  // Unknown for a code that has no place among the reasons.
  virtual Reason Meaning(std::uint32_t code) noexcept = 0;

 protected:
  ~Reasons() = default;
};

// Codes that no system uses, for refusals that are not the system's.
inline constexpr std::uint32_t kRefusal = 0x20000000;
constexpr std::uint32_t RefusalCode(Reason reason) { return kRefusal | static_cast<std::uint32_t>(reason); }
constexpr bool IsRefusal(std::uint32_t code) { return (code & kRefusal) != 0; }
constexpr Reason RefusalReason(std::uint32_t code) { return static_cast<Reason>(code & 0xFF); }

// Keeps the code over calls whose failure says nothing: a second look, cleaning up.
class KeptReason {
 public:
  explicit KeptReason(Reasons& reasons) : reasons_(reasons), code_(reasons.LastCode()) {}
  ~KeptReason() { Restore(); }
  // Already now.
  void Restore() const { reasons_.SetLastCode(code_); }
  KeptReason(const KeptReason&) = delete;
  KeptReason& operator=(const KeptReason&) = delete;

 private:
  Reasons& reasons_;
  const std::uint32_t code_;
};

}  // namespace OrvWorkFlow::Core::System
