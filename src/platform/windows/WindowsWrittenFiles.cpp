#include "platform/windows/WindowsWrittenFiles.h"

#include <vector>

#include "base/lock/Mutex.h"
#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

// More files than this are flushed as they come.
constexpr std::size_t kMostFiles = 4096;

class WindowsWrittenFiles final : public WrittenFiles {
 public:
  void Note(std::u16string path) {
    const KeptReason kept(SystemParts::TheReasons());
    if (path.empty()) return;
    const Base::Hold lock(mutex_);
    if (!files_.empty() && files_.back() == path) return;
    if (files_.size() >= kMostFiles) {
      const Base::Released released(mutex_);
      FlushAll();
    }
    files_.push_back(std::move(path));  // Not flushed yet, however many there are: it may be written after this.
  }

  bool FlushAll() override {
    std::vector<std::u16string> files;
    {
      const Base::Hold lock(mutex_);
      files.swap(files_);
    }
    bool flushed = true;
    for (std::u16string& file : files) {
      if (FlushFile(file)) continue;
      flushed = false;
      const Base::Hold lock(mutex_);
      files_.push_back(std::move(file));
    }
    return flushed;
  }

 private:
  Base::Mutex mutex_;  // a leaf
  std::vector<std::u16string> files_ ORV_GUARDED_BY(mutex_);
};

WindowsWrittenFiles& TheFiles() {
  static WindowsWrittenFiles files;
  return files;
}

HANDLE OpenToFlush(const std::u16string& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return CreateFileW(Native(path.c_str()), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

}  // namespace

bool FlushFile(const std::u16string& path) {
  HANDLE file = OpenToFlush(path);
  if (file == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return true;
    const DWORD attributes = GetFileAttributesW(Native(path.c_str()));
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return true;  // Nothing was written over it.
    if ((attributes & FILE_ATTRIBUTE_READONLY) == 0) return false;
    // A copy has the mark of its source, and can be flushed only without it.
    SetFileAttributesW(Native(path.c_str()), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    file = OpenToFlush(path);
    SetFileAttributesW(Native(path.c_str()), attributes);
    if (file == INVALID_HANDLE_VALUE) return false;
  }
  const bool flushed = FlushFileBuffers(file) != FALSE;
  CloseHandle(file);
  return flushed;
}

void NoteWritten(std::u16string path) { TheFiles().Note(std::move(path)); }

}  // namespace Windows

namespace SystemParts {

WrittenFiles& Written() { return Windows::TheFiles(); }

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
