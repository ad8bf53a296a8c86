#include "base/windows/FileAccess.h"

#include <cwchar>
#include <iterator>

#include "OrvWorkFlow/host/HostError.h"
#include "host/files/HostFiles.h"
#include "host/windows/WidePath.h"

namespace OrvWorkFlow::Host {

namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

constexpr DWORD kAllSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE OpenToRead(const std::wstring& path) {
  return CreateFileW(path.c_str(), GENERIC_READ, kAllSharing, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// What a path leads to, a folder too, for questions only.
HANDLE OpenToAsk(const std::wstring& path) {
  return CreateFileW(path.c_str(), 0, kAllSharing, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool IsMissing(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
         error == ERROR_BAD_NETPATH || error == ERROR_INVALID_DRIVE;
}

// The system's text for an error, without its line break and full stop.
std::string Reason(DWORD error) {
  wchar_t text[512];
  const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  DWORD length = FormatMessageW(flags, nullptr, error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n' || text[length - 1] == L'.' ||
                        text[length - 1] == L' ')) {
    --length;
  }
  const std::string narrow = Narrow(std::wstring(text, length));
  return narrow.empty() ? "system error " + std::to_string(error) : narrow;
}

// Of what exists; "" otherwise.
std::wstring FinalPath(const std::wstring& path) {
  const Handle file(OpenToAsk(path));
  if (!file) return {};
  std::wstring final_path(32768, L'\0');
  const auto capacity = static_cast<DWORD>(final_path.size());
  const DWORD length = GetFinalPathNameByHandleW(file.get(), final_path.data(), capacity, 0);
  final_path.resize(length < capacity ? length : 0);
  if (final_path.starts_with(L"\\\\?\\UNC\\")) return L"\\\\" + final_path.substr(8);
  return final_path.starts_with(L"\\\\?\\") ? final_path.substr(4) : final_path;
}

}  // namespace

FileLook LookAtFile(const std::string& path) {
  const std::wstring wide = Widen(path);
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    return IsMissing(error) ? FileLook{} : FileLook{FileKind::Unreadable, Reason(error)};
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return {FileKind::Folder, {}};
  const Handle file(OpenToRead(wide));
  return file ? FileLook{FileKind::Readable, {}} : FileLook{FileKind::Unreadable, Reason(GetLastError())};
}

std::string MakeAbsolutePath(const std::string& path) {
  std::wstring absolute(32768, L'\0');
  const auto capacity = static_cast<DWORD>(absolute.size());
  const DWORD length = GetFullPathNameW(Widen(path).c_str(), capacity, absolute.data(), nullptr);
  if (length == 0 || length >= capacity) return path;
  absolute.resize(length);
  std::string narrow = Narrow(absolute);
  if (!narrow.empty()) return narrow;
  // The short name of a file that exists holds what every code page has.
  std::wstring short_path(capacity, L'\0');
  short_path.resize(GetShortPathNameW(absolute.c_str(), short_path.data(), capacity));
  narrow = Narrow(short_path);
  if (!narrow.empty()) return narrow;
  throw HostError(HostError::Kind::Failed, path + ": the name holds characters that the system's code page lacks");
}

std::string ResolveLinks(const std::string& path) {
  const std::wstring wide = Widen(path);
  std::wstring final_path = FinalPath(wide);
  if (final_path.empty()) {
    const std::size_t name = wide.find_last_of(L"/\\") + 1;
    const std::wstring folder = name == 0 ? std::wstring() : FinalPath(wide.substr(0, name));
    if (folder.empty()) return path;
    final_path = folder + (folder.back() == L'\\' ? L"" : L"\\") + wide.substr(name);
  }
  const std::string narrow = Narrow(final_path);
  return narrow.empty() ? path : narrow;
}

bool IsLink(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(Widen(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool IsSameFile(const std::string& one, const std::string& other) {
  const Handle first(OpenToAsk(Widen(one)));
  const Handle second(OpenToAsk(Widen(other)));
  BY_HANDLE_FILE_INFORMATION a{};
  BY_HANDLE_FILE_INFORMATION b{};
  return first && second && GetFileInformationByHandle(first.get(), &a) != 0 &&
         GetFileInformationByHandle(second.get(), &b) != 0 && a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
         a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
}

FileReading ReadThrough(const std::string& path) {
  FileReading reading{{}, 0xCBF29CE484222325u};
  const Handle file(OpenToRead(Widen(path)));
  std::vector<unsigned char> bytes(1 << 16);
  for (DWORD count = 0; file;) {
    if (ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) == 0) break;
    if (count == 0) return reading;
    for (DWORD i = 0; i < count; ++i) reading.checksum = (reading.checksum ^ bytes[i]) * 0x100000001B3u;
  }
  reading.reason = Reason(GetLastError());
  return reading;
}

std::string RemoveDurably(const std::string& path) {
  if (DeleteFileW(Widen(path).c_str()) != 0 || IsMissing(GetLastError())) return {};
  return Reason(GetLastError());
}

// The file system keeps the names of files in a log of its own.
std::string KeepName(const std::string& /*path*/) { return {}; }

std::string MakePrivateFile(const std::string& /*path*/) { return {}; }

std::string RenameDurably(const std::string& from, const std::string& to) {
  const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (MoveFileExW(Widen(from).c_str(), Widen(to).c_str(), flags) != 0) return {};
  return Reason(GetLastError());
}

std::vector<std::string> FilesNamedAfter(const std::string& path) {
  std::vector<std::string> files;
  const std::wstring wide = Widen(path);
  const std::size_t name = wide.find_last_of(L"/\\") + 1;
  WIN32_FIND_DATAW data{};
  const HANDLE search = FindFirstFileW((wide + L"*").c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return files;
  constexpr DWORD kNoPlainFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  do {
    const std::wstring found = data.cFileName;
    const std::size_t length = wide.size() - name;
    if ((data.dwFileAttributes & kNoPlainFile) != 0 || found.size() <= length) continue;
    if (_wcsnicmp(found.c_str(), wide.c_str() + name, length) != 0) continue;  // Found by its short name.
    const std::string file = Narrow(wide.substr(0, name) + found);
    if (!file.empty()) files.push_back(file);
  } while (FindNextFileW(search, &data) != 0);
  FindClose(search);
  return files;
}

std::string WhyNotTrusted(const std::string& path) {
  const std::wstring file = Widen(path);
  if (!Base::FileAccess(file.substr(0, file.find_last_of(L"/\\") + 1)).IsOpenToAll()) return {};
  for (const DWORD flags : {DWORD{0}, DWORD{FILE_FLAG_OPEN_REPARSE_POINT}}) {
    const std::string owner = Base::FileAccess(file, flags).ForeignOwner();
    if (owner.empty()) continue;
    return "belongs to another user (number " + owner +
           ") and lies in a folder that anybody may write to, so it is not trusted";
  }
  return {};
}

}  // namespace OrvWorkFlow::Host
