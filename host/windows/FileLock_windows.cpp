#include "base/windows/WindowsApi.h"

#include <system_error>

#include "host/state/FileLock.h"
#include "host/windows/WidePath.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr DWORD kAllSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

// The system removes the file with the last handle to it.
struct FileLock::System {
  explicit System(HANDLE opened) : file(opened) {}
  ~System() {
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  HANDLE file;
};

FileLock::FileLock(const std::string& file)
    // Whoever has it open for writing keeps others from opening it so.
    : system_(std::make_unique<System>(CreateFileW(Widen(file).c_str(), GENERIC_WRITE | DELETE,
                                                   FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                                                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr))) {
  if (system_->file == INVALID_HANDLE_VALUE) {
    if (GetLastError() == ERROR_SHARING_VIOLATION) {
      outcome_ = Outcome::InUse;
      owner_ = ReadOwner(file);
    } else {
      Fail();
    }
    return;
  }
  const std::string owner = std::to_string(GetCurrentProcessId());
  DWORD written = 0;
  const BOOL done = WriteFile(system_->file, owner.data(), static_cast<DWORD>(owner.size()), &written, nullptr);
  if (done != 0 && written == owner.size()) {
    outcome_ = Outcome::Held;
  } else {
    Fail();
  }
}

void FileLock::Fail() { reason_ = std::system_category().message(static_cast<int>(GetLastError())); }

std::string FileLock::ReadOwner(const std::string& path) {
  const HANDLE file = CreateFileW(Widen(path).c_str(), GENERIC_READ, kAllSharing, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  char text[32];
  DWORD length = 0;
  if (ReadFile(file, text, sizeof text, &length, nullptr) == 0) length = 0;
  CloseHandle(file);
  std::string owner(text, length);
  return owner.find_first_not_of("0123456789") == std::string::npos ? owner : std::string();
}

FileLock::~FileLock() = default;

// The system does that itself.
void FileLock::RemoveFilesAtExit() noexcept {}

}  // namespace OrvWorkFlow::Host
