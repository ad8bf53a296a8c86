#include <cerrno>
#include <cstring>

#include "platform/SystemError.h"

namespace OrvWorkFlow {

void SystemError::Forget() noexcept { errno = 0; }

std::int32_t SystemError::Last() noexcept { return errno; }

SystemErrorKind SystemError::KindOf(std::int32_t number) noexcept {
  switch (number) {
    case 0:
      return SystemErrorKind::None;
    case ENOENT:
    case ENOTDIR:
      return SystemErrorKind::NotFound;
    case EWOULDBLOCK:
    case ETXTBSY:
    case EBUSY:
      return SystemErrorKind::InUse;
    case ENOMEM:
      return SystemErrorKind::NoMemory;
    default:
      return SystemErrorKind::Other;
  }
}

std::string SystemError::Describe(std::int32_t number) {
  if (number == 0) return {};
  if (KindOf(number) == SystemErrorKind::InUse) return "in use by another process";
  char buffer[256] = "";
  std::string text = ::strerror_r(number, buffer, sizeof buffer);  // GNU's, which gives the text back.
  if (!text.empty() && text[0] >= 'A' && text[0] <= 'Z' && (text.size() < 2 || text[1] < 'A' || text[1] > 'Z')) {
    text[0] = static_cast<char>(text[0] - 'A' + 'a');
  }
  return text;
}

}  // namespace OrvWorkFlow
