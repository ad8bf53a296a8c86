#include "base/windows/WindowsApi.h"

#include <array>

#include "host/state/MappedPage.h"
#include "host/windows/WidePath.h"

namespace OrvWorkFlow::Host {

struct MappedPage::System {
  ~System() {
    if (view != nullptr) UnmapViewOfFile(view);
    if (mapping != nullptr) CloseHandle(mapping);
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  }

  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE mapping = nullptr;
  void* view = nullptr;
};

namespace {

bool Fill(HANDLE file) {
  if (GetFileSize(file, nullptr) == MappedPage::kSize) return true;
  static constexpr std::array<char, MappedPage::kSize> kZeros = {};
  DWORD written = 0;
  return SetEndOfFile(file) != 0 && WriteFile(file, kZeros.data(), kZeros.size(), &written, nullptr) != 0 &&
         written == kZeros.size();
}

}  // namespace

MappedPage::MappedPage(const std::string& path) : path_(path), system_(std::make_unique<System>()) {
  System& system = *system_;
  system.file = CreateFileW(Widen(path).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                            nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (system.file == INVALID_HANDLE_VALUE) return;
  const bool is_new = GetLastError() != ERROR_ALREADY_EXISTS;
  if (Fill(system.file)) system.mapping = CreateFileMappingW(system.file, nullptr, PAGE_READWRITE, 0, kSize, nullptr);
  if (system.mapping != nullptr) system.view = MapViewOfFile(system.mapping, FILE_MAP_WRITE, 0, 0, kSize);
  data_ = system.view;
  if (data_ != nullptr || !is_new) return;
  system_ = std::make_unique<System>();
  DeleteFileW(Widen(path).c_str());
}

MappedPage::~MappedPage() = default;

void MappedPage::Remove() {
  const bool is_there = data_ != nullptr;
  data_ = nullptr;
  system_ = std::make_unique<System>();
  if (is_there) DeleteFileW(Widen(path_).c_str());
}

}  // namespace OrvWorkFlow::Host
