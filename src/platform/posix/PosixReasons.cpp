#include "platform/posix/PosixReasons.h"

#include <cerrno>

#include "platform/SystemParts.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

Reason MeaningOf(int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      return Reason::NotFound;
    case EACCES:
    case EPERM:
      return Reason::Denied;
    case EROFS:
      return Reason::ReadOnlyDisk;
    case EWOULDBLOCK:
    case EBUSY:
    case ETXTBSY:
      return Reason::InUse;
    case ENOSPC:
      return Reason::NoSpace;
    case EDQUOT:
      return Reason::NoQuota;
    case EFBIG:
    case EOVERFLOW:
      return Reason::TooLarge;
    case EEXIST:
      return Reason::Exists;
    case EISDIR:
      return Reason::IsFolder;
    case ENXIO:
    case ENODEV:
    case ESPIPE:
      return Reason::NotPlainFile;
    case ENOTEMPTY:
      return Reason::NotEmpty;
    case ENAMETOOLONG:
      return Reason::NameTooLong;
    case EILSEQ:
      return Reason::InvalidName;
    case ELOOP:
      return Reason::TooManyLinks;
    case EMFILE:
    case ENFILE:
      return Reason::TooManyOpen;
    case EIO:
      return Reason::DiskFailed;
    case ENOMEM:
      return Reason::NoMemory;
    case EBADF:  // A folder that was opened to be entered only.
      return Reason::Denied;
    default:
      return Reason::Unknown;
  }
}

class PosixReasons final : public Reasons {
 public:
  std::uint32_t LastCode() noexcept override { return static_cast<std::uint32_t>(errno); }
  void SetLastCode(std::uint32_t code) noexcept override { errno = static_cast<int>(code); }
  Reason Meaning(std::uint32_t code) noexcept override {
    return IsRefusal(code) ? RefusalReason(code) : MeaningOf(static_cast<int>(code));
  }
};

}  // namespace

bool Refuse(Reason reason) noexcept {
  errno = static_cast<int>(RefusalCode(reason));
  return false;
}

KeptErrno::KeptErrno() : code_(errno) {}
KeptErrno::~KeptErrno() { errno = code_; }

}  // namespace Posix

namespace SystemParts {

Reasons& TheReasons() {
  static Posix::PosixReasons reasons;
  return reasons;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
