#include <dlfcn.h>

#include <cstdio>
#include <filesystem>

#include "tests/library/LoadedLibrary.h"

namespace orv_test {

void* LoadCoreObjects() {
  const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  void* library = dlopen((folder / "libCoreObjects.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::fprintf(stderr, "%s\n", dlerror());
  return library;
}

bool UnloadCoreObjects(void* library) { return library != nullptr && dlclose(library) == 0; }

}  // namespace orv_test
