// Where paths lead to: files are the same when the volume's serial number and the file's index are.
#include <algorithm>
#include <optional>
#include <string_view>

#include "platform/Places.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

struct FileId {
  DWORD volume = 0;
  DWORD high = 0;
  DWORD low = 0;
  bool operator==(const FileId&) const = default;
};

// What a path leads to, opened for questions only.
class Opened {
 public:
  explicit Opened(const std::u16string& path)
      : handle_(CreateFileW(Native(path.c_str()), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)),
        error_(handle_ == INVALID_HANDLE_VALUE ? GetLastError() : 0) {}
  ~Opened() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool IsMissing() const {
    return error_ == ERROR_FILE_NOT_FOUND || error_ == ERROR_PATH_NOT_FOUND || error_ == ERROR_INVALID_NAME ||
           error_ == ERROR_BAD_NETPATH || error_ == ERROR_BAD_PATHNAME;
  }
  std::optional<FileId> Id() const {
    BY_HANDLE_FILE_INFORMATION data{};
    if (GetFileInformationByHandle(handle_, &data) == 0) return std::nullopt;
    return FileId{data.dwVolumeSerialNumber, data.nFileIndexHigh, data.nFileIndexLow};
  }
  // "\\?\C:\folder"; "" when the system does not say.
  std::u16string FinalPath() const {
    std::u16string path(32768, u'\0');
    const DWORD length = GetFinalPathNameByHandleW(handle_, Native(path.data()), static_cast<DWORD>(path.size()), 0);
    path.resize(length < path.size() ? length : 0);
    return path;
  }

 private:
  HANDLE handle_;
  DWORD error_;
};

// False at a root: "X:", a share, a drive without a name.
bool CutLastName(std::u16string& path) {
  while (!path.empty() && path.back() == u'\\') path.pop_back();
  const std::size_t cut = path.find_last_of(u'\\');
  if (cut == std::u16string::npos || path.back() == u':' || cut < 4) return false;
  constexpr std::u16string_view kNetwork = u"\\\\?\\UNC\\";
  if (path.starts_with(kNetwork) && std::count(path.begin() + kNetwork.size(), path.end(), u'\\') < 2) return false;
  path.resize(cut + 1);  // With the separator, without which "C:" would be the current folder.
  return true;
}

// From a root, backslashes only, in the form that may have any length.
std::u16string Whole(const std::string& path) {
  const std::u16string wide = WideLongForm(path);
  std::u16string whole(32768, u'\0');
  const DWORD length =
      GetFullPathNameW(Native(wide.c_str()), static_cast<DWORD>(whole.size()), Native(whole.data()), nullptr);
  whole.resize(length < whole.size() ? length : 0);
  return whole.empty() || whole.starts_with(u"\\\\") ? whole : u"\\\\?\\" + whole;
}

}  // namespace
}  // namespace Windows

PlaceRelation RelateToPlace(const std::string& directory, const std::string& place) {
  std::optional<Windows::FileId> id;
  {
    const Windows::Opened opened(Windows::Whole(directory));
    if (!opened) return opened.IsMissing() ? PlaceRelation::Apart : PlaceRelation::Unknown;
    id = opened.Id();
  }
  std::u16string path = Windows::Whole(place);
  if (!id || path.empty()) return PlaceRelation::Unknown;
  bool is_final = false;
  for (;;) {
    const Windows::Opened opened(path);
    if (opened) {
      const std::optional<Windows::FileId> above = opened.Id();
      if (!above) return PlaceRelation::Unknown;
      if (*above == *id) return PlaceRelation::Holds;
      if (!is_final) path = opened.FinalPath();
      if (path.empty()) return PlaceRelation::Unknown;
      is_final = true;
    } else if (!opened.IsMissing()) {
      return PlaceRelation::Unknown;
    }
    // A drive that does not exist holds nothing.
    if (!Windows::CutLastName(path)) return PlaceRelation::Apart;
  }
}

bool LeadsToRoot(const std::string& directory) {
  const Windows::Opened opened(Windows::Whole(directory));
  if (!opened) return !opened.IsMissing();
  std::u16string path = opened.FinalPath();
  return path.empty() || !Windows::CutLastName(path) || path.size() <= 4;
}

std::string HomeDirectory() {
  char buffer[32768];
  const DWORD length = GetEnvironmentVariableA("USERPROFILE", buffer, sizeof buffer);
  return length < sizeof buffer ? std::string(buffer, length) : std::string();
}

}  // namespace OrvWorkFlow::Core::System
