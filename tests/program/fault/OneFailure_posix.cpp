// Preloaded into a program it lets calls fail as the environment says:
//
//   ONE_FAILURE_KIND   which calls: "memory", or the name of a group of system calls below
//   ONE_FAILURE_AT     the number of the one that fails, from 1, since `main` began, on any thread
//   ONE_FAILURE_LASTS  "1": all from that one on
//   ONE_FAILURE_KILLS  "1": the process is killed instead, before the call
//   ONE_FAILURE_ERROR  the number of the system's error; else EIO, for memory ENOMEM
//   ONE_FAILURE_PATH   only calls count that are given a path with this end
//   ONE_FAILURE_COUNT  a file that gets the number of such calls when the program exits
//
// With a sanitizer, which brings its own `malloc`, memory is that of operator new; else it is that of `malloc` and
// its kin, which operator new asks too. Children of the program are left alone. A node can also take its thread's
// memory away itself, see OneFailureTakeMemory.
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>
#include <atomic>

// A place for a breakpoint: the call that fails.
extern "C" __attribute__((visibility("default"), noinline)) void OneFailureFails();
void OneFailureFails() { __asm__ volatile(""); }

namespace {

std::atomic<bool> in_main = false;
std::atomic<long> calls = 0;
char kind[16];
char path_end[256];
char count_file[4096];
long failing = 0;
bool lasts = false;
bool kills = false;
int error = 0;
int (*program_main)(int, char**, char**) = nullptr;
__thread int without_memory = 0;  // so many allocations; -1 for all

bool IsMeant(const char* path) {
  if (path_end[0] == '\0') return true;
  if (path == nullptr) return false;
  const std::size_t length = std::strlen(path);
  const std::size_t end = std::strlen(path_end);
  return length >= end && std::strcmp(path + length - end, path_end) == 0;
}

// True when this call is to fail.
bool Fails(const char* name, const char* path = nullptr) {
  if (!in_main.load(std::memory_order_relaxed) || std::strcmp(name, kind) != 0 || !IsMeant(path)) return false;
  const long number = calls.fetch_add(1) + 1;
  if (failing == 0 || (lasts ? number < failing : number != failing)) return false;
  OneFailureFails();
  if (kills) kill(getpid(), SIGKILL);
  errno = error;
  return true;
}

bool MemoryFails() {
  if (without_memory == 0) return Fails("memory");
  if (without_memory > 0) --without_memory;
  errno = ENOMEM;
  return true;
}

template <class Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <std::size_t kSize>
void TakeText(const char* name, char (&text)[kSize]) {
  if (const char* const value = std::getenv(name)) std::strncpy(text, value, kSize - 1);
}

long TakeNumber(const char* name, long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::atol(value);
}

int Main(int argument_count, char** arguments, char** environment) {
  TakeText("ONE_FAILURE_KIND", kind);
  TakeText("ONE_FAILURE_PATH", path_end);
  TakeText("ONE_FAILURE_COUNT", count_file);
  failing = TakeNumber("ONE_FAILURE_AT", 0);
  lasts = TakeNumber("ONE_FAILURE_LASTS", 0) != 0;
  kills = TakeNumber("ONE_FAILURE_KILLS", 0) != 0;
  error = static_cast<int>(TakeNumber("ONE_FAILURE_ERROR", std::strcmp(kind, "memory") == 0 ? ENOMEM : EIO));
  unsetenv("ONE_FAILURE_KIND");  // Children get none of it.
  unsetenv("ONE_FAILURE_COUNT");
  in_main = true;
  return program_main(argument_count, arguments, environment);
}

__attribute__((destructor)) void Report() {
  in_main = false;
  if (count_file[0] == '\0') return;
  char text[32];
  const int length = std::snprintf(text, sizeof text, "%ld", calls.load());
  const long opened = syscall(SYS_openat, AT_FDCWD, count_file, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  syscall(SYS_write, opened, text, length);
  syscall(SYS_close, opened);
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

// The next allocations of this thread fail; with -1 all of them, until this is called with 0.
EXPORTED void OneFailureTakeMemory(int allocations);
EXPORTED void OneFailureTakeMemory(int allocations) { without_memory = allocations; }

using MainFunction = int(int, char**, char**);
using Callback = void();
EXPORTED int __libc_start_main(MainFunction* main, int count, char** arguments, Callback* init, Callback* fini,
                               Callback* rtld_fini, void* stack_end) {
  program_main = main;
  return Next<decltype(__libc_start_main)>("__libc_start_main")(&Main, count, arguments, init, fini, rtld_fini,
                                                                stack_end);
}

// A call whose failure is -1; `path` is the one that it is given, or null.
#define ONE_FAILURE(kind, path, name, result, parameters, arguments)        \
  EXPORTED result name parameters {                                         \
    if (Fails(kind, path)) return -1;                                       \
    static result(*const next) parameters = Next<result parameters>(#name); \
    return next arguments;                                                  \
  }

ONE_FAILURE("write", nullptr, write, ssize_t, (int f, const void* d, size_t n), (f, d, n))
ONE_FAILURE("write", nullptr, pwrite, ssize_t, (int f, const void* d, size_t n, off_t o), (f, d, n, o))
ONE_FAILURE("write", nullptr, pwrite64, ssize_t, (int f, const void* d, size_t n, off64_t o), (f, d, n, o))
ONE_FAILURE("write", nullptr, ftruncate, int, (int f, off_t n), (f, n))
ONE_FAILURE("write", nullptr, ftruncate64, int, (int f, off64_t n), (f, n))
ONE_FAILURE("read", nullptr, read, ssize_t, (int f, void* d, size_t n), (f, d, n))
ONE_FAILURE("read", nullptr, pread, ssize_t, (int f, void* d, size_t n, off_t o), (f, d, n, o))
ONE_FAILURE("read", nullptr, pread64, ssize_t, (int f, void* d, size_t n, off64_t o), (f, d, n, o))
ONE_FAILURE("fsync", nullptr, fsync, int, (int f), (f))
ONE_FAILURE("fsync", nullptr, fdatasync, int, (int f), (f))
ONE_FAILURE("flock", nullptr, flock, int, (int f, int how), (f, how))
ONE_FAILURE("rename", b, rename, int, (const char* a, const char* b), (a, b))
ONE_FAILURE("rename", b, renameat, int, (int f, const char* a, int g, const char* b), (f, a, g, b))
ONE_FAILURE("rename", b, renameat2, int, (int f, const char* a, int g, const char* b, unsigned x), (f, a, g, b, x))
ONE_FAILURE("unlink", a, unlink, int, (const char* a), (a))
ONE_FAILURE("unlink", a, unlinkat, int, (int f, const char* a, int x), (f, a, x))
ONE_FAILURE("mkdir", a, mkdir, int, (const char* a, mode_t m), (a, m))
ONE_FAILURE("mkdir", a, mkdirat, int, (int f, const char* a, mode_t m), (f, a, m))
ONE_FAILURE("stat", a, stat, int, (const char* a, struct stat* s), (a, s))
ONE_FAILURE("stat", a, lstat, int, (const char* a, struct stat* s), (a, s))
ONE_FAILURE("stat", nullptr, fstat, int, (int f, struct stat* s), (f, s))
ONE_FAILURE("stat", a, fstatat, int, (int f, const char* a, struct stat* s, int x), (f, a, s, x))
ONE_FAILURE("stat", a, stat64, int, (const char* a, struct stat64* s), (a, s))
ONE_FAILURE("stat", a, lstat64, int, (const char* a, struct stat64* s), (a, s))
ONE_FAILURE("stat", nullptr, fstat64, int, (int f, struct stat64* s), (f, s))
ONE_FAILURE("stat", a, fstatat64, int, (int f, const char* a, struct stat64* s, int x), (f, a, s, x))
ONE_FAILURE("stat", a, statx, int, (int f, const char* a, int x, unsigned m, struct statx* s), (f, a, x, m, s))
ONE_FAILURE("stat", a, access, int, (const char* a, int m), (a, m))

// Closes all the same, as the system does.
EXPORTED int close(int file) {
  static int (*const next)(int) = Next<int(int)>("close");
  const bool fails = Fails("close");
  const int result = next(file);
  if (fails) errno = error;
  return fails ? -1 : result;
}

EXPORTED void* mmap(void* place, size_t size, int protection, int flags, int file, off_t offset) {
  if (Fails("mmap")) return MAP_FAILED;
  // By the system itself: sanitizers map memory before anything can be looked up.
  return reinterpret_cast<void*>(syscall(SYS_mmap, place, size, protection, flags, file, offset));
}

// The mode stands there only for a new file.
#define ONE_FAILURE_OPEN(name, parameters, arguments, flags)                                           \
  EXPORTED int name parameters {                                                                       \
    if (Fails("open", path)) return -1;                                                                \
    mode_t mode = 0;                                                                                   \
    if ((flags & (O_CREAT | __O_TMPFILE)) != 0) {                                                      \
      va_list more;                                                                                    \
      va_start(more, flags);                                                                           \
      mode = va_arg(more, mode_t);                                                                     \
      va_end(more);                                                                                    \
    }                                                                                                  \
    static int(*const next) parameters = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #name)); \
    return next arguments;                                                                             \
  }

ONE_FAILURE_OPEN(open, (const char* path, int flags, ...), (path, flags, mode), flags)
ONE_FAILURE_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode), flags)
ONE_FAILURE_OPEN(openat, (int f, const char* path, int flags, ...), (f, path, flags, mode), flags)
ONE_FAILURE_OPEN(openat64, (int f, const char* path, int flags, ...), (f, path, flags, mode), flags)

#ifdef ONE_FAILURE_SANITIZED

#define VISIBLE __attribute__((visibility("default")))

namespace {

void* Get(std::size_t size, std::size_t alignment) noexcept {
  if (MemoryFails()) return nullptr;
  if (size == 0) size = 1;
  return alignment == 0 ? std::malloc(size)
                        : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}
void* GetOrThrow(std::size_t size, std::size_t alignment = 0) {
  void* const memory = Get(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

VISIBLE void* operator new(std::size_t n) { return GetOrThrow(n); }
VISIBLE void* operator new[](std::size_t n) { return GetOrThrow(n); }
VISIBLE void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return Get(n, 0); }
VISIBLE void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return Get(n, 0); }
VISIBLE void* operator new(std::size_t n, std::align_val_t a) { return GetOrThrow(n, static_cast<std::size_t>(a)); }
VISIBLE void* operator new[](std::size_t n, std::align_val_t a) { return GetOrThrow(n, static_cast<std::size_t>(a)); }
VISIBLE void operator delete(void* p) noexcept { std::free(p); }
VISIBLE void operator delete[](void* p) noexcept { std::free(p); }
VISIBLE void operator delete(void* p, std::size_t) noexcept { std::free(p); }
VISIBLE void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
VISIBLE void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
VISIBLE void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
VISIBLE void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
VISIBLE void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
VISIBLE void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
VISIBLE void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

#else

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* memory, size_t size);
EXPORTED void* malloc(size_t size) { return MemoryFails() ? nullptr : __libc_malloc(size); }
EXPORTED void* calloc(size_t count, size_t size) { return MemoryFails() ? nullptr : __libc_calloc(count, size); }
EXPORTED void* realloc(void* memory, size_t size) { return MemoryFails() ? nullptr : __libc_realloc(memory, size); }

#endif
