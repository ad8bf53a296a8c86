#include "runtime/plugin/SharedLibrary.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <new>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Runtime {

namespace {

class PosixLibrary final : public SharedLibrary {
 public:
  explicit PosixLibrary(void* handle) : handle_(handle) {}
  ~PosixLibrary() override { dlclose(handle_); }

  void* FindFunction(const char* name) const override { return dlsym(handle_, name); }
  const void* GetIdentity() const override { return handle_; }

 private:
  void* handle_;
};

// The loader's own words, in one line, without the file's name in front: the caller gives that.
std::string GetLoadError(const std::string& file) {
  const char* const text = dlerror();
  std::string reason = text != nullptr ? text : "cannot be loaded";
  if (reason.starts_with(file + ": ")) {
    reason.erase(0, file.size() + 2);
  }
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  return reason;
}

std::string GetDirectoryOf(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

std::string WithoutEnding(const std::string& name) {
  for (const std::string_view ending : {".so", ".dll", ".DLL"}) {
    if (name.size() > ending.size() && name.ends_with(ending)) {
      return name.substr(0, name.size() - ending.size());
    }
  }
  return name;
}

}  // namespace

// One call at a time.
std::unique_ptr<SharedLibrary> SharedLibrary::Open(const std::string& file, std::string* reason) {
  // A library that has thrown stays where it is, half made; asked for once more, the system would call it loaded.
  static std::vector<std::string> half_made;
  if (std::find(half_made.begin(), half_made.end(), file) != half_made.end()) {
    *reason = "has thrown while it was loaded";
    return nullptr;
  }
  // What the library's own objects throw while they are made comes out of the call. The system's header says that
  // nothing does, so the compiler must not see which function it is.
  void* (*volatile const open_library)(const char*, int) = &dlopen;
  void* handle = nullptr;
  std::string thrown;
  errno = 0;
  try {
    handle = open_library(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    thrown = std::string("throws while it is loaded: ") + error.what();
  } catch (...) {
    thrown = "throws while it is loaded";
  }
  if (handle != nullptr) return std::make_unique<PosixLibrary>(handle);
  if (thrown.empty() && errno == ENOMEM) throw std::bad_alloc();  // The library may be whole.
  *reason = thrown.empty() ? GetLoadError(file) : thrown;
  if (!thrown.empty()) half_made.push_back(file);
  return nullptr;
}

std::vector<std::string> GetLibraryFileNames(const std::string& name) {
  const std::string stem = WithoutEnding(name);
  std::vector<std::string> names;
  if (name.ends_with(".so")) {
    names.push_back(name);
  }
  names.push_back("lib" + stem + ".so");
  names.push_back(stem + ".so");
  names.push_back(name);
  return names;
}

std::string GetProgramDirectory() {
  std::error_code error;
  return GetDirectoryOf(std::filesystem::read_symlink("/proc/self/exe", error).string());
}

std::string GetRuntimeDirectory() {
  Dl_info info = {};
  static const char in_this_library = 0;
  if (dladdr(&in_this_library, &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  std::error_code error;
  return GetDirectoryOf(std::filesystem::canonical(info.dli_fname, error).string());
}

std::string GetInstalledPluginDirectory(const std::string& runtime_directory) {
  std::string directory = runtime_directory + "/orvworkflow";
  struct stat status = {};
  if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return {};
  return directory;
}

bool IsFile(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

std::string MakeAbsolute(const std::string& path) {
  std::string slashed = path;
  std::replace(slashed.begin(), slashed.end(), '\\', '/');
  std::error_code error;
  return std::filesystem::absolute(slashed, error).string();
}

}  // namespace OrvWorkFlow::Runtime
