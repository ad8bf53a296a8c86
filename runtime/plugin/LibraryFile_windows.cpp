#include "base/windows/FileAccess.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "runtime/plugin/LibraryFile.h"

namespace OrvWorkFlow::Runtime {

namespace {

constexpr char kCutOff[] = "is cut off: parts of the library are missing; copy it again";

class OpenFile {
 public:
  explicit OpenFile(const std::string& path)
      : file_(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~OpenFile() {
    if (IsOpen()) CloseHandle(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool IsOpen() const { return file_ != INVALID_HANDLE_VALUE; }
  bool IsOnDisk() const { return GetFileType(file_) == FILE_TYPE_DISK; }

  std::uint64_t GetSize() const {
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file_, &size) != 0 ? static_cast<std::uint64_t>(size.QuadPart) : 0;
  }

  // ERROR_SUCCESS, the system's error, or ERROR_HANDLE_EOF when the file ends before.
  DWORD Read(void* bytes, std::size_t size, std::uint64_t offset) const {
    LARGE_INTEGER place = {};
    place.QuadPart = static_cast<LONGLONG>(offset);
    DWORD count = 0;
    if (SetFilePointerEx(file_, place, nullptr, FILE_BEGIN) == 0 ||
        ReadFile(file_, bytes, static_cast<DWORD>(size), &count, nullptr) == 0) {
      return GetLastError();
    }
    return count == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
  }

 private:
  HANDLE file_;
};

bool Fail(std::string* reason, std::string text) {
  *reason = std::move(text);
  return false;
}

// Without an overflow: the numbers come from the file.
bool IsWithin(std::uint64_t offset, std::uint64_t size, std::uint64_t file_size) {
  return offset <= file_size && size <= file_size - offset;
}

std::string DescribeError(DWORD error) { return "cannot be read (error " + std::to_string(error) + ")"; }

// Reads a part of a file of that size; where the file is too short the reason is `missing`.
bool ReadPart(const OpenFile& file, std::uint64_t file_size, void* bytes, std::size_t size, std::uint64_t offset,
              const char* missing, std::string* reason) {
  if (!IsWithin(offset, size, file_size)) return Fail(reason, missing);
  const DWORD error = file.Read(bytes, size, offset);
  return error == ERROR_SUCCESS || Fail(reason, error == ERROR_HANDLE_EOF ? missing : DescribeError(error));
}

// The headers of the running program, which say what this process loads.
const IMAGE_NT_HEADERS& GetOwnHeaders() {
  const auto* const image = reinterpret_cast<const char*>(GetModuleHandleW(nullptr));
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
  return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
}

bool CheckHeaders(const IMAGE_NT_HEADERS& headers, std::string* reason) {
  if (headers.Signature != IMAGE_NT_SIGNATURE) return Fail(reason, "is no library of this system");
  const IMAGE_NT_HEADERS& own = GetOwnHeaders();
  if (headers.FileHeader.Machine != own.FileHeader.Machine ||
      headers.OptionalHeader.Magic != own.OptionalHeader.Magic) {
    return Fail(reason, "is a library for another kind of machine; build it for this one");
  }
  if ((headers.FileHeader.Characteristics & IMAGE_FILE_DLL) == 0) {
    return Fail(reason, "is no library, but a program");
  }
  return true;
}

bool CheckSections(const OpenFile& file, const IMAGE_FILE_HEADER& header, std::uint64_t table, std::uint64_t size,
                   std::string* reason) {
  std::vector<IMAGE_SECTION_HEADER> sections(header.NumberOfSections);
  if (sections.empty()) return Fail(reason, "is no library that can be loaded: it has no sections");
  const std::size_t table_size = sections.size() * sizeof(IMAGE_SECTION_HEADER);
  if (!ReadPart(file, size, sections.data(), table_size, table, kCutOff, reason)) return false;
  for (const IMAGE_SECTION_HEADER& section : sections) {
    if (section.PointerToRawData == 0) continue;  // Has no bytes in the file.
    if (!IsWithin(section.PointerToRawData, section.SizeOfRawData, size)) return Fail(reason, kCutOff);
  }
  return true;
}

// The table of symbols lies at the end of libraries that have one. The loader does not need it, but it shows that the
// end is there. Behind it stand the symbols' names, which begin with their size.
bool CheckSymbols(const OpenFile& file, const IMAGE_FILE_HEADER& header, std::uint64_t size, std::string* reason) {
  if (header.PointerToSymbolTable == 0) return true;
  constexpr std::uint64_t kSymbolSize = 18;
  const std::uint64_t names = header.PointerToSymbolTable + header.NumberOfSymbols * kSymbolSize;
  std::uint32_t names_size = 0;
  return ReadPart(file, size, &names_size, sizeof names_size, names, kCutOff, reason) &&
         (IsWithin(names, names_size, size) || Fail(reason, kCutOff));
}

std::wstring Widen(const std::string& path) {
  const int size = static_cast<int>(path.size());
  std::wstring wide(path.size(), L'\0');
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, path.data(), size, wide.data(), size)));
  return wide;
}

// A folder above `file` that all may write to: whoever may may put files there under any name.
bool LiesInPublicFolder(const std::wstring& file) {
  for (std::size_t slash = file.find_last_of(L"/\\"); slash != std::wstring::npos && slash > 0;
       slash = file.find_last_of(L"/\\", slash - 1)) {
    if (Base::FileAccess(file.substr(0, slash + 1)).IsOpenToAll()) return true;
  }
  return false;
}

// The link, where it is one, and what it leads to.
bool CheckOwner(const std::string& file, std::string* reason) {
  const std::wstring named = Widen(file);
  const bool is_own = Base::FileAccess(named).ForeignOwner().empty() &&
                      Base::FileAccess(named, FILE_FLAG_OPEN_REPARSE_POINT).ForeignOwner().empty();
  if (is_own || !LiesInPublicFolder(named)) return true;
  return Fail(reason, "refused: it belongs to another user and lies in a folder that all may write to");
}

}  // namespace

bool CheckLibraryFile(const std::string& file, std::string* reason) {
  const OpenFile opened(file);
  if (!opened.IsOpen()) return Fail(reason, DescribeError(GetLastError()));
  if (!opened.IsOnDisk()) return Fail(reason, "is no regular file");
  if (!CheckOwner(file, reason)) return false;
  const std::uint64_t size = opened.GetSize();
  IMAGE_DOS_HEADER dos = {};
  if (!ReadPart(opened, size, &dos, sizeof dos, 0, "is no library: it is too short", reason)) return false;
  if (dos.e_magic != IMAGE_DOS_SIGNATURE) return Fail(reason, "is no library of this system");
  const auto place = static_cast<std::uint64_t>(static_cast<std::uint32_t>(dos.e_lfanew));
  IMAGE_NT_HEADERS headers = {};
  if (!ReadPart(opened, size, &headers, sizeof headers, place, kCutOff, reason)) return false;
  if (!CheckHeaders(headers, reason)) return false;
  const std::uint64_t table =
      place + offsetof(IMAGE_NT_HEADERS, OptionalHeader) + headers.FileHeader.SizeOfOptionalHeader;
  return CheckSections(opened, headers.FileHeader, table, size, reason) &&
         CheckSymbols(opened, headers.FileHeader, size, reason);
}

}  // namespace OrvWorkFlow::Runtime
