#include "base/windows/WindowsApi.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "runtime/plugin/SharedLibrary.h"

namespace OrvWorkFlow::Runtime {

namespace {

// Keeps the system from asking the user about a missing library; the failure is reported instead.
class QuietErrors {
 public:
  QuietErrors() { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previous_); }
  ~QuietErrors() { SetThreadErrorMode(previous_, nullptr); }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  DWORD previous_ = 0;
};

class WindowsLibrary final : public SharedLibrary {
 public:
  explicit WindowsLibrary(HMODULE module) : module_(module) {}
  ~WindowsLibrary() override { FreeLibrary(module_); }

  void* FindFunction(const char* name) const override { return reinterpret_cast<void*>(GetProcAddress(module_, name)); }
  const void* GetIdentity() const override { return module_; }

 private:
  HMODULE module_;
};

std::wstring ToWide(const std::string& text) {
  const int size = static_cast<int>(text.size());
  const int wide_size = MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(wide_size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), wide_size);
  return wide;
}

std::string ToNarrow(const std::wstring& text) {
  const int size = static_cast<int>(text.size());
  const int narrow_size = WideCharToMultiByte(CP_ACP, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(narrow_size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), size, narrow.data(), narrow_size, nullptr, nullptr);
  return narrow;
}

// The system's text in one line, with the number.
std::string DescribeError(DWORD error) {
  char buffer[512] = "";
  const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  const DWORD length = FormatMessageA(flags, nullptr, error, 0, buffer, sizeof buffer, nullptr);
  std::string text(buffer, length);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  while (!text.empty() && text.back() == ' ') {
    text.pop_back();
  }
  return (text.empty() ? "cannot be loaded" : text) + " (error " + std::to_string(error) + ")";
}

bool IsLackOfMemory(DWORD error) {
  return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY || error == ERROR_COMMITMENT_LIMIT;
}

// The directory of a module's file; "" for one that the system does not tell.
std::string GetDirectoryOfModule(HMODULE module) {
  std::wstring file(MAX_PATH, L'\0');
  DWORD length = GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size()));
  while (length == file.size()) {
    file.resize(file.size() * 2);
    length = GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size()));
  }
  file.resize(length);
  const std::size_t separator = file.find_last_of(L"\\/");
  return separator == std::wstring::npos ? std::string() : ToNarrow(file.substr(0, separator));
}

bool EndsWithIgnoringCase(const std::string& text, std::string_view lower_ending) {
  if (text.size() <= lower_ending.size()) {
    return false;
  }
  const std::string_view ending = std::string_view(text).substr(text.size() - lower_ending.size());
  return std::equal(ending.begin(), ending.end(), lower_ending.begin(), [](char left, char right) {
    return (left >= 'A' && left <= 'Z' ? static_cast<char>(left - 'A' + 'a') : left) == right;
  });
}

std::string WithoutEnding(const std::string& name) {
  for (const std::string_view ending : {".dll", ".so"}) {
    if (EndsWithIgnoringCase(name, ending)) {
      return name.substr(0, name.size() - ending.size());
    }
  }
  return name;
}

}  // namespace

std::unique_ptr<SharedLibrary> SharedLibrary::Open(const std::string& file, std::string* reason) {
  const QuietErrors quiet_errors;
  // What the library needs is looked for beside it and where the system keeps its own, not along the search path.
  const DWORD flags = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
  HMODULE const module = LoadLibraryExW(ToWide(file).c_str(), nullptr, flags);
  if (module == nullptr) {
    const DWORD error = ::GetLastError();
    if (IsLackOfMemory(error)) throw std::bad_alloc();  // The library may be whole.
    *reason = DescribeError(error);
    return nullptr;
  }
  return std::make_unique<WindowsLibrary>(module);
}

std::vector<std::string> GetLibraryFileNames(const std::string& name) {
  const std::string stem = WithoutEnding(name);
  std::vector<std::string> names;
  if (EndsWithIgnoringCase(name, ".dll")) {
    names.push_back(name);
  }
  names.push_back(stem + ".dll");
  names.push_back("lib" + stem + ".dll");
  if (stem.starts_with("lib") && stem.size() > 3) {
    names.push_back(stem.substr(3) + ".dll");
  }
  // To a name without an ending the system would add one of its own.
  if (name.find('.') != std::string::npos) {
    names.push_back(name);
  }
  return names;
}

std::string GetProgramDirectory() { return GetDirectoryOfModule(nullptr); }

std::string GetRuntimeDirectory() {
  HMODULE module = nullptr;
  static const wchar_t in_this_library = 0;
  const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  return GetModuleHandleExW(flags, &in_this_library, &module) != 0 ? GetDirectoryOfModule(module) : std::string();
}

// Plug-ins lie beside the programs.
std::string GetInstalledPluginDirectory(const std::string& /*runtime_directory*/) { return {}; }

bool IsFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(ToWide(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string MakeAbsolute(const std::string& path) {
  const std::wstring wide = ToWide(path);
  const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  std::wstring absolute(size, L'\0');
  const DWORD length = GetFullPathNameW(wide.c_str(), size, absolute.data(), nullptr);
  absolute.resize(length < size ? length : 0);
  return ToNarrow(absolute);
}

}  // namespace OrvWorkFlow::Runtime
