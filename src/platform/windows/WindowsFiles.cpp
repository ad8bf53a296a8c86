// Files, by the system's narrow and wide calls.
#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/BesideName.h"
#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"
#include "platform/windows/WindowsReasons.h"
#include "platform/windows/WindowsTurns.h"
#include "platform/windows/WindowsWrittenFiles.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

// The same call under one name for both widths.
BOOL NativeSetAttributes(const char* path, DWORD attributes) { return SetFileAttributesA(path, attributes); }
BOOL NativeSetAttributes(const char16_t* path, DWORD attributes) {
  return SetFileAttributesW(Native(path), attributes);
}
HANDLE NativeOpen(const char* path, DWORD access, DWORD share, DWORD creation, DWORD flags) {
  return CreateFileA(path, access, share, nullptr, creation, flags, nullptr);
}
HANDLE NativeOpen(const char16_t* path, DWORD access, DWORD share, DWORD creation, DWORD flags) {
  return CreateFileW(Native(path), access, share, nullptr, creation, flags, nullptr);
}
BOOL NativeCopy(const char* from, const char* to, BOOL fail_if_exists) { return CopyFileA(from, to, fail_if_exists); }
BOOL NativeCopy(const char16_t* from, const char16_t* to, BOOL fail_if_exists) {
  return CopyFileW(Native(from), Native(to), fail_if_exists);
}
BOOL NativeRemove(const char* path) { return DeleteFileA(path); }
BOOL NativeRemove(const char16_t* path) { return DeleteFileW(Native(path)); }
BOOL NativeRename(const char* from, const char* to, DWORD flags) { return MoveFileExA(from, to, flags); }
BOOL NativeRename(const char16_t* from, const char16_t* to, DWORD flags) {
  return MoveFileExW(Native(from), Native(to), flags);
}
BOOL NativeGetAccess(const char* path, PSECURITY_DESCRIPTOR access, DWORD size, DWORD* needed) {
  return GetFileSecurityA(path, DACL_SECURITY_INFORMATION, access, size, needed);
}
BOOL NativeGetAccess(const char16_t* path, PSECURITY_DESCRIPTOR access, DWORD size, DWORD* needed) {
  return GetFileSecurityW(Native(path), DACL_SECURITY_INFORMATION, access, size, needed);
}
BOOL NativeSetAccess(const char* path, PSECURITY_DESCRIPTOR access) {
  return SetFileSecurityA(path, DACL_SECURITY_INFORMATION, access);
}
BOOL NativeSetAccess(const char16_t* path, PSECURITY_DESCRIPTOR access) {
  return SetFileSecurityW(Native(path), DACL_SECURITY_INFORMATION, access);
}

DWORD CreationOf(Creation creation) {
  switch (creation) {
    case Creation::OpenExisting:
      return OPEN_EXISTING;
    case Creation::OpenAlways:
      return OPEN_ALWAYS;
    case Creation::CreateNew:
    case Creation::CreateNewPrivate:  // Who may read a new file is the directory's matter on this platform.
      break;
  }
  return CREATE_NEW;
}

// With the reason, if it is.
template <class Text>
bool IsMarkedReadOnly(const Text& path) {
  std::uint32_t attributes = 0;
  if (!AttributesOf(path, &attributes) || (attributes & FileAttribute::kReadOnly) == 0) return false;
  Refuse(Reason::MarkedReadOnly);
  return true;
}

// The access list goes along where the file system has one.
template <class Text>
void CopyAccessList(const Text& from, const Text& to) {
  DWORD needed = 0;
  WithPaths([&](const auto* p) { return NativeGetAccess(p, nullptr, 0, &needed); }, from);
  if (needed == 0) return;
  std::vector<std::uint64_t> aligned(needed / sizeof(std::uint64_t) + 1);
  PSECURITY_DESCRIPTOR access = aligned.data();
  if (WithPaths([&](const auto* p) { return NativeGetAccess(p, access, needed, &needed); }, from)) {
    WithPaths([&](const auto* p) { return NativeSetAccess(p, access); }, to);
  }
}

// Without the mark of the long form.
std::u16string FinalName(HANDLE file) {
  std::u16string name = FinalPath(file);
  if (name.starts_with(u"\\\\?\\UNC\\")) return u"\\\\" + name.substr(8);
  return name.starts_with(u"\\\\?\\") ? name.substr(4) : name;
}

// What a FileHandle stands for.
struct OpenFile {
  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE turn = nullptr;
};

OpenFile& Deref(FileHandle handle) { return *reinterpret_cast<OpenFile*>(handle); }

FileHandle ToHandle(std::unique_ptr<OpenFile> file) {
  return static_cast<FileHandle>(reinterpret_cast<std::intptr_t>(file.release()));  // Close deletes it.
}

// True for two paths that lead to one file.
template <class Text>
bool IsSameFile(const Text& first, const Text& second) {
  const auto look = [](const Text& path, BY_HANDLE_FILE_INFORMATION* information) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = WithPaths(
        [](const auto* p) { return NativeOpen(p, 0, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS); }, path);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool known = GetFileInformationByHandle(file, information) != FALSE;
    CloseHandle(file);
    return known;
  };
  BY_HANDLE_FILE_INFORMATION one{};
  BY_HANDLE_FILE_INFORMATION other{};
  return look(first, &one) && look(second, &other) && one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

template <class Text>
Text PathBeside(const Text& path, int attempt) {
  using Char = typename Text::value_type;
  constexpr Char kSeparators[] = {'\\', '/', ':', 0};
  const std::size_t separator = path.find_last_of(kSeparators);
  const std::size_t name = separator == Text::npos ? 0 : separator + 1;
  return path.substr(0, name) + BesideName(std::basic_string_view<Char>(path).substr(name), attempt);
}

bool Assign(std::u16string name, std::u16string* target) {
  *target = std::move(name);
  return true;
}
bool Assign(const std::u16string& name, std::string* target) {
  bool exact = false;
  std::string narrow;
  if (!SystemParts::TheCodePage().Narrow(name, &narrow, &exact) || !exact) return false;
  *target = std::move(narrow);
  return true;
}

template <class Char>
class WindowsFiles final : public FilesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  bool GetAttributes(const Text& path, std::uint32_t* attributes) override { return AttributesOf(path, attributes); }

  bool SetAttributes(const Text& path, std::uint32_t attributes) override {
    const bool read_only = (attributes & FileAttribute::kReadOnly) != 0;
    const DWORD native = read_only ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
    return IsNameable(path) && WithPaths([=](const auto* p) { return NativeSetAttributes(p, native); }, path) != FALSE;
  }

  bool IsWritableFile(const Text& path) override {
    constexpr DWORD kRefused = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DEVICE;
    if (!IsNameable(path)) return false;
    const DWORD attributes = WithPaths([](const auto* p) { return NativeGetAttributes(p); }, path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) return Refuse(Reason::MarkedReadOnly);
    return (attributes & kRefused) == 0 || Refuse(Reason::IsFolder);
  }

  SystemResult Open(const Text& path, Access access, Creation creation, FileHandle* handle) override {
    if (!IsNameable(path)) return SystemResult::NotFound;
    const DWORD native_creation = CreationOf(creation);
    // An administrator's programs pass the mark on some systems; it counts all the same.
    const bool existing = native_creation != CREATE_NEW;
    const bool changes = access != Access::Read;
    if (changes && existing && IsMarkedReadOnly(path)) return SystemResult::Denied;
    auto opened = std::make_unique<OpenFile>();
    Turn turn(changes && existing ? WholeForm(path) : std::u16string());
    if (changes && existing && !turn) return SystemResult::InUse;
    const DWORD reads = access == Access::Write ? 0 : GENERIC_READ;
    const DWORD native_access = reads | (changes ? GENERIC_WRITE : 0);
    opened->file = WithPaths(
        [=](const auto* p) { return NativeOpen(p, native_access, 0, native_creation, FILE_ATTRIBUTE_NORMAL); }, path);
    if (opened->file == INVALID_HANDLE_VALUE) return WhyNotOpened(path, existing);
    if (GetFileType(opened->file) != FILE_TYPE_DISK) {
      CloseHandle(opened->file);
      Refuse(Reason::NotPlainFile);
      return SystemResult::Denied;
    }
    opened->turn = turn.Give();
    *handle = ToHandle(std::move(opened));
    return SystemResult::Ok;
  }

  SystemResult TakeTurn(const Text& path, FileHandle* handle) override {
    if (!IsNameable(path)) return SystemResult::NotFound;
    auto opened = std::make_unique<OpenFile>();
    opened->turn = Windows::TakeTurn(WholeForm(path));
    if (opened->turn == nullptr) return LastResult();
    *handle = ToHandle(std::move(opened));
    return SystemResult::Ok;
  }

  bool CopyOver(const Text& source, const Text& destination, bool fail_if_exists, CopiedMark mark) override {
    if (!IsNameable(source) || !IsNameable(destination) || IsMarkedReadOnly(destination)) return false;
    NoteWritten(WholeForm(destination));  // Without memory for that nothing has been copied.
    const bool copied = Copy(source, destination) ||
                        (!fail_if_exists && GetLastError() == ERROR_FILE_EXISTS && CopyBeside(source, destination));
    if (copied && mark == CopiedMark::Dropped) DropMark(destination);
    return copied;
  }

  bool RemoveOneFile(const Text& path, Mark mark) override {
    if (!IsNameable(path)) return false;
    const auto remove = [&] { return WithPaths([](const auto* p) { return NativeRemove(p); }, path) != FALSE; };
    if (mark == Mark::Counts || !IsMarkedReadOnly(path)) return remove();
    SetAttributes(path, FileAttribute::kNormal);
    if (remove()) return true;
    const KeptReason kept(SystemParts::TheReasons());
    SetAttributes(path, FileAttribute::kReadOnly);
    return false;
  }

  bool RenameOver(const Text& from, const Text& to) override {
    if (!IsNameable(from) || !IsNameable(to) || IsMarkedReadOnly(to)) return false;
    constexpr DWORD kFlags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    return WithPaths([](const auto* f, const auto* t) { return NativeRename(f, t, kFlags); }, from, to) != FALSE;
  }

  bool CopyPermissions(const Text& from, const Text& to) override {
    constexpr DWORD kKept = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                            FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    if (!IsNameable(from) || !IsNameable(to)) return false;
    const DWORD attributes = WithPaths([](const auto* p) { return NativeGetAttributes(p); }, from);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    CopyAccessList(from, to);
    const DWORD kept = (attributes & kKept) == 0 ? FILE_ATTRIBUTE_NORMAL : attributes & kKept;
    return WithPaths([=](const auto* p) { return NativeSetAttributes(p, kept); }, to) != FALSE;
  }

  bool FollowLink(const Text& path, Text* target) override {
    std::uint32_t attributes = 0;
    if (!AttributesOf(path, &attributes) || (attributes & FileAttribute::kLink) == 0) {
      *target = path;
      return true;
    }
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = WithPaths(
        [](const auto* p) { return NativeOpen(p, 0, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS); }, path);
    if (file == INVALID_HANDLE_VALUE) return false;
    std::u16string name = FinalName(file);
    CloseHandle(file);
    return !name.empty() && Assign(std::move(name), target);
  }

 private:
  // A directory of that name is reported as a lack of permission.
  static SystemResult WhyNotOpened(const Text& path, bool existing) {
    const SystemResult result = LastResult();
    std::uint32_t attributes = 0;
    {
      const KeptReason kept(SystemParts::TheReasons());
      if (result != SystemResult::Denied || !AttributesOf(path, &attributes)) return result;
    }
    if (!existing) return SystemResult::Exists;
    if ((attributes & FileAttribute::kDirectory) != 0) Refuse(Reason::IsFolder);
    return result;
  }

  // Of a copy that is there: without memory to take its mark it must not count as a failure, and be left behind by one.
  void DropMark(const Text& path, int attempts = 2) {
    try {
      SetAttributes(path, FileAttribute::kNormal);
    } catch (const std::bad_alloc&) {
      if (attempts > 1) DropMark(path, attempts - 1);
    }
  }

  // False, with ERROR_FILE_EXISTS, when something has that name.
  static bool Copy(const Text& source, const Text& destination) {
    return WithPaths([](const auto* from, const auto* to) { return NativeCopy(from, to, TRUE); }, source,
                     destination) != FALSE;
  }

  // Gives the destination a whole copy, made beside it.
  bool CopyBeside(const Text& source, const Text& destination) {
    Text target;
    if (!FollowLink(destination, &target) || !IsWritableFile(target)) return false;
    if (IsSameFile(source, target)) return Refuse(Reason::SameFile);
    const Turn turn(WholeForm(target));
    if (!turn) return false;
    Text beside = PathBeside(target, 0);
    bool copied = Copy(source, beside);
    for (int i = 1; !copied && GetLastError() == ERROR_FILE_EXISTS && i < kMostNamesBeside; ++i) {
      beside = PathBeside(target, i);
      copied = Copy(source, beside);
    }
    if (!copied) return false;
    try {
      if (PutInPlace(beside, target)) return true;
    } catch (...) {  // No memory.
      RemoveOneFile(beside, Mark::Ignored);
      throw;
    }
    const KeptReason kept(SystemParts::TheReasons());
    RemoveOneFile(beside, Mark::Ignored);
    return false;
  }
  bool PutInPlace(const Text& beside, const Text& target) {
    const bool marked = IsMarkedReadOnly(beside);
    SetAttributes(beside, FileAttribute::kNormal);
    CopyAccessList(target, beside);
    if (!FlushFile(WholeForm(beside)) || !RenameOver(beside, target)) return false;
    if (marked) SetAttributes(target, FileAttribute::kReadOnly);
    return true;
  }

  static DWORD NativeGetAttributes(const char* path) { return GetFileAttributesA(path); }
  static DWORD NativeGetAttributes(const char16_t* path) { return GetFileAttributesW(Native(path)); }
};

HANDLE NativeHandle(FileHandle handle) { return Deref(handle).file; }

class WindowsOpenFiles final : public OpenFiles {
 public:
  bool Read(FileHandle handle, void* data, std::size_t size, std::size_t* done) override {
    *done = 0;
    while (*done < size) {
      DWORD count = 0;
      if (!ReadFile(NativeHandle(handle), static_cast<char*>(data) + *done, Part(size - *done), &count, nullptr)) {
        return false;
      }
      if (count == 0) break;
      *done += count;
    }
    return true;
  }
  bool Write(FileHandle handle, const void* data, std::size_t size, std::size_t* done) override {
    *done = 0;
    while (*done < size) {
      DWORD count = 0;
      const char* rest = static_cast<const char*>(data) + *done;
      if (!WriteFile(NativeHandle(handle), rest, Part(size - *done), &count, nullptr) || count == 0) return false;
      *done += count;
    }
    try {
      NoteWritten(FinalPath(NativeHandle(handle)));
    } catch (const std::bad_alloc&) {  // What is on the disk need not be remembered.
      return FlushFileBuffers(NativeHandle(handle)) != FALSE;
    }
    return true;
  }
  bool GetSize(FileHandle handle, std::uint64_t* size) override {
    LARGE_INTEGER value;
    if (!GetFileSizeEx(NativeHandle(handle), &value)) return false;
    *size = static_cast<std::uint64_t>(value.QuadPart);
    return true;
  }
  bool MoveTo(FileHandle handle, std::uint64_t position) override {
    LARGE_INTEGER value;
    value.QuadPart = static_cast<LONGLONG>(position);
    return SetFilePointerEx(NativeHandle(handle), value, nullptr, FILE_BEGIN) != FALSE;
  }
  bool SetEnd(FileHandle handle) override { return SetEndOfFile(NativeHandle(handle)) != FALSE; }
  bool Flush(FileHandle handle) override { return FlushFileBuffers(NativeHandle(handle)) != FALSE; }
  // Nobody replaces a file that is open; whoever opens it meanwhile has its turn to wait for.
  void LetReplace(FileHandle handle) override {
    OpenFile& opened = Deref(handle);
    CloseHandle(std::exchange(opened.file, INVALID_HANDLE_VALUE));
  }
  bool Close(FileHandle handle) override {
    const std::unique_ptr<OpenFile> opened(&Deref(handle));
    const bool closed = opened->file == INVALID_HANDLE_VALUE || CloseHandle(opened->file) != FALSE;
    EndTurn(opened->turn);
    return closed;
  }

 private:
  static DWORD Part(std::size_t size) { return static_cast<DWORD>(std::min<std::size_t>(size, 1U << 30)); }
};

}  // namespace
}  // namespace Windows

namespace SystemParts {

template <class Char>
FilesOf<Char>& Files() {
  static Windows::WindowsFiles<Char> files;
  return files;
}
template FilesOf<char>& Files<char>();
template FilesOf<char16_t>& Files<char16_t>();

OpenFiles& Handles() {
  static Windows::WindowsOpenFiles handles;
  return handles;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
