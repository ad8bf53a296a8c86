#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <atomic>
#include <mutex>
#include <system_error>

#include "host/windows/WidePath.h"
#include "journal/GrowingFile.h"

namespace OrvWorkFlow::Journal {

struct GrowingFile::System {
  ~System() {
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  }

  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE mapping = nullptr;
  void* window = nullptr;
  std::atomic<std::uint64_t> reserved = 0;  // the file's bytes that the disk has
  std::atomic<std::uint64_t> kept = 0;      // and with these also those for the next Map
  std::mutex mutex;                         // Guards what is below, and keeps the window.
  bool is_synced = false;
  bool has_lost = false;  // what was memory
};

namespace {

std::string LastReason() { return std::system_category().message(static_cast<int>(GetLastError())); }

// A view begins at a multiple of it.
constexpr std::uint64_t kGranularity = 64 * 1024;

bool SetSize(HANDLE file, std::uint64_t size) {
  LARGE_INTEGER place;
  place.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(file, place, nullptr, FILE_BEGIN) != 0 && SetEndOfFile(file) != 0;
}

DWORD High(std::uint64_t value) { return static_cast<DWORD>(value >> 32); }
DWORD Low(std::uint64_t value) { return static_cast<DWORD>(value & 0xFFFFFFFF); }

}  // namespace

GrowingFile::GrowingFile(const std::string& path) : path_(path), system_(std::make_unique<System>()) {
  // Who shares a file for reading only does not get it beside one who writes: readers share it for writing, too.
  system_->file = CreateFileW(Host::Widen(path).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (system_->file != INVALID_HANDLE_VALUE) {
    outcome_ = Outcome::Open;
  } else if (GetLastError() == ERROR_SHARING_VIOLATION) {
    outcome_ = Outcome::InUse;
  } else {
    reason_ = LastReason();
  }
}

GrowingFile::~GrowingFile() { Unmap(); }

bool GrowingFile::GetSize(std::uint64_t* size) {
  LARGE_INTEGER large;
  if (GetFileSizeEx(system_->file, &large) == 0) {
    reason_ = LastReason();
    return false;
  }
  *size = static_cast<std::uint64_t>(large.QuadPart);
  return true;
}

bool GrowingFile::CutAt(std::uint64_t size) {
  system_->kept = 0;
  if (SetSize(system_->file, size)) return true;
  reason_ = LastReason();
  return false;
}

unsigned char* GrowingFile::Map(std::uint64_t offset, std::size_t* room) {
  Unmap();
  const std::lock_guard<std::mutex> lock(system_->mutex);
  const std::uint64_t begin = offset / kGranularity * kGranularity;
  const std::size_t size = WindowAt(offset);
  const std::uint64_t end = begin + size;
  system_->mapping = CreateFileMappingW(system_->file, nullptr, PAGE_READWRITE, High(end), Low(end), nullptr);
  if (system_->mapping != nullptr) {
    system_->window = MapViewOfFile(system_->mapping, FILE_MAP_WRITE, High(begin), Low(begin), size);
  }
  if (system_->window == nullptr) {
    reason_ = LastReason();
    if (system_->mapping != nullptr) CloseHandle(system_->mapping);
    system_->mapping = nullptr;
    return nullptr;
  }
  system_->reserved = end;
  *room = size - static_cast<std::size_t>(offset - begin);
  return static_cast<unsigned char*>(system_->window) + (offset - begin);
}

// What was memory is written when the system sees fit, unless somebody waits for the disk.
void GrowingFile::Unmap() {
  const std::lock_guard<std::mutex> lock(system_->mutex);
  if (system_->window != nullptr && system_->is_synced && FlushViewOfFile(system_->window, 0) == 0) {
    system_->has_lost = true;
  }
  if (system_->window != nullptr) UnmapViewOfFile(system_->window);
  if (system_->mapping != nullptr) CloseHandle(system_->mapping);
  system_->window = nullptr;
  system_->mapping = nullptr;
}

bool GrowingFile::Sync(std::string* reason) {
  const std::lock_guard<std::mutex> lock(system_->mutex);
  system_->is_synced = true;
  if (!system_->has_lost && (system_->window == nullptr || FlushViewOfFile(system_->window, 0) != 0) &&
      FlushFileBuffers(system_->file) != 0) {
    return true;
  }
  *reason = system_->has_lost ? "a part of it could not be written" : LastReason();
  return false;
}

// The file is made longer, by what is cut off at its end.
bool GrowingFile::KeepRoom(std::uint64_t size) {
  const std::uint64_t end = system_->reserved + size;
  if (system_->kept == end) return true;
  const HANDLE longer = CreateFileMappingW(system_->file, nullptr, PAGE_READWRITE, High(end), Low(end), nullptr);
  if (longer == nullptr) return GetLastError() != ERROR_DISK_FULL;
  CloseHandle(longer);
  system_->kept = end;
  return true;
}

void GrowingFile::Remove() {
  Unmap();
  outcome_ = Outcome::Refused;
  system_ = std::make_unique<System>();
  DeleteFileW(Host::Widen(path_).c_str());
}

bool IsGrowing(const std::string& path) {
  // The one that grows it shares it for reading only.
  const HANDLE file = CreateFileW(Host::Widen(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
  CloseHandle(file);
  return false;
}

}  // namespace OrvWorkFlow::Journal
