#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <utility>

#include "OrvWorkFlow/FileReasons.h"
#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

std::string ReasonOfCode(DWORD code) {
  switch (code) {
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return FileReasons::kInUse;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return FileReasons::kNotFound;
    case ERROR_ACCESS_DENIED:
      return FileReasons::kDenied;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return FileReasons::kNoSpace;
    default:
      return ReasonOf(std::error_code(static_cast<int>(code), std::system_category()));
  }
}

HANDLE HandleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

std::wstring Widen(UINT code_page, const std::string& text) {
  const int size = MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.c_str(), -1, nullptr, 0);
  if (size <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text.c_str(), -1, wide.data(), size);
  wide.resize(wide.size() - 1);
  return wide;
}

std::string Narrow(UINT code_page, const std::wstring& text) {
  BOOL is_inexact = FALSE;
  const bool is_utf8 = code_page == CP_UTF8 || GetACP() == CP_UTF8;
  const DWORD flags = is_utf8 ? 0 : WC_NO_BEST_FIT_CHARS;
  BOOL* const inexact = is_utf8 ? nullptr : &is_inexact;
  const int size = WideCharToMultiByte(code_page, flags, text.c_str(), -1, nullptr, 0, nullptr, inexact);
  if (size <= 0 || is_inexact != FALSE) return {};
  std::string narrow(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(code_page, flags, text.c_str(), -1, narrow.data(), size, nullptr, nullptr);
  narrow.resize(narrow.size() - 1);
  return narrow;
}

std::int64_t MicrosecondsOf(const FILETIME& time) {
  return static_cast<std::int64_t>((std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 10);
}

}  // namespace

std::filesystem::path LocalPath(IFileSystemA& file_system, const std::string& path) {
  const Sdk::TextHolder holder;
  if (path.empty() || !file_system.WorkflowPathToPlatformPathString(path.c_str(), holder.get())) {
    throw FileProblem(Sdk::WithReason(file_system, "\"" + path + "\" is no path"));
  }
  const std::wstring wide = Widen(CP_ACP, holder.Text());
  if (wide.empty()) throw FileProblem(path + ": " + FileReasons::kInvalidName);
  return wide;
}

std::string NameOf(const std::filesystem::path& name) { return Narrow(CP_ACP, name.generic_wstring()); }

std::string Utf8Of(const std::filesystem::path& path) { return Narrow(CP_UTF8, path.native()); }

std::optional<FileState> StateOfPath(const std::filesystem::path& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) == FALSE) return std::nullopt;
  FileState state;
  state.is_folder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  state.is_plain = !state.is_folder;
  state.size = std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
  state.changed = MicrosecondsOf(data.ftLastWriteTime);
  return state;
}

std::int64_t PresentMoment() {
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  return MicrosecondsOf(now);
}

LocalFile::LocalFile(const std::filesystem::path& path, Mode mode, std::string shown_name)
    : handle_(0), shown_name_(std::move(shown_name)) {
  const bool reads = mode == Mode::Read;
  const std::string what = reads ? "cannot read " : "cannot write ";
  const std::optional<FileState> state = StateOfPath(path);
  if (state && state->is_folder) throw FileProblem(what + shown_name_ + ": " + FileReasons::kIsFolder);
  const HANDLE file = CreateFileW(path.c_str(), reads ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE,
                                  reads ? FILE_SHARE_READ : 0U, nullptr,
                                  reads               ? OPEN_EXISTING
                                  : mode == Mode::New ? CREATE_NEW
                                                      : OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw FileProblem(what + shown_name_ + ": " + ReasonOfCode(GetLastError()));
  handle_ = reinterpret_cast<std::intptr_t>(file);
  if (GetFileType(file) == FILE_TYPE_DISK) return;
  CloseHandle(file);
  throw FileProblem(what + shown_name_ + ": " + FileReasons::kNotPlainFile);
}

LocalFile::~LocalFile() { CloseHandle(HandleOf(handle_)); }

void LocalFile::Fail(const char* what) const {
  throw FileProblem(std::string("cannot ") + what + " " + shown_name_ + ": " + ReasonOfCode(GetLastError()));
}

std::uint64_t LocalFile::Size() const {
  LARGE_INTEGER size = {};
  if (GetFileSizeEx(HandleOf(handle_), &size) == FALSE) Fail("read");
  return static_cast<std::uint64_t>(size.QuadPart);
}

void LocalFile::Seek(std::uint64_t position) {
  LARGE_INTEGER place = {};
  place.QuadPart = static_cast<LONGLONG>(position);
  if (SetFilePointerEx(HandleOf(handle_), place, nullptr, FILE_BEGIN) == FALSE) Fail("read");
}

std::size_t LocalFile::Read(void* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    DWORD count = 0;
    if (ReadFile(HandleOf(handle_), static_cast<char*>(bytes) + done, static_cast<DWORD>(size - done), &count,
                 nullptr) == FALSE) {
      Fail("read");
    }
    if (count == 0) break;
    done += count;
  }
  return done;
}

void LocalFile::Write(const void* bytes, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    DWORD count = 0;
    if (WriteFile(HandleOf(handle_), static_cast<const char*>(bytes) + done, static_cast<DWORD>(size - done), &count,
                  nullptr) == FALSE) {
      Fail("write");
    }
    done += count;
  }
}

void LocalFile::CutAt(std::uint64_t size) {
  Seek(size);
  if (SetEndOfFile(HandleOf(handle_)) == FALSE) Fail("write");
}

void LocalFile::Flush() {
  if (FlushFileBuffers(HandleOf(handle_)) == FALSE) Fail("write");
}

}  // namespace OrvWorkFlow::Nodes
