#include <dlfcn.h>

#include <cstdio>

#include "tests/library/LoadedLibrary.h"

namespace orv_test {

void* LoadCoreObjects() {
  void* library = dlopen("libCoreObjects.so", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::fprintf(stderr, "%s\n", dlerror());
  return library;
}

bool UnloadCoreObjects(void* library) { return library != nullptr && dlclose(library) == 0; }

}  // namespace orv_test
