#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include <cstdio>

#include "tests/library/LoadedLibrary.h"

namespace orv_test {

void* LoadCoreObjects() {
  HMODULE library = LoadLibraryA("CoreObjects.dll");
  if (library == nullptr) std::fprintf(stderr, "CoreObjects.dll: error %lu\n", GetLastError());
  return library;
}

bool UnloadCoreObjects(void* library) { return library != nullptr && FreeLibrary(static_cast<HMODULE>(library)) != 0; }

}  // namespace orv_test
