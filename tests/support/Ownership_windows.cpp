// Wine shows owners and modes of Linux as accounts and access lists, and starts programs of Linux: they change what
// this process could not.
#include "base/windows/FileAccess.h"

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/support/Ownership.h"

namespace orv_test {

namespace {

using OrvWorkFlow::Base::FileAccess;

bool IsForeign(const std::string& file) {
  return !FileAccess(std::filesystem::path(file).wstring(), FILE_FLAG_OPEN_REPARSE_POINT).ForeignOwner().empty();
}
bool IsOpen(const std::string& folder) { return FileAccess(std::filesystem::path(folder).wstring()).IsOpenToAll(); }

bool Start(const std::string& program, const std::string& arguments) {
  const std::string file = "Z:\\usr\\bin\\" + program;
  std::string line = file + " " + arguments;
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (CreateProcessA(file.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process) ==
      0) {
    return false;
  }
  if (process.hProcess != nullptr) CloseHandle(process.hProcess);
  if (process.hThread != nullptr) CloseHandle(process.hThread);
  return true;
}

// As Linux has it; "" without Wine.
std::string LinuxName(const std::string& file) {
  using Namer = char*(__cdecl*)(const wchar_t*);
  const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
  // By way of a pointer to no object, as types of functions differ.
  const auto namer =
      reinterpret_cast<Namer>(reinterpret_cast<void*>(GetProcAddress(kernel, "wine_get_unix_file_name")));
  char* const name = namer != nullptr ? namer(std::filesystem::path(file).c_str()) : nullptr;
  if (name == nullptr) return {};
  const std::string text = name;
  HeapFree(GetProcessHeap(), 0, name);
  return text;
}

// Nobody tells when a program of Linux has ended.
void Change(const std::string& program, const std::string& what, const std::string& file,
            bool (*state)(const std::string&), bool wanted) {
  constexpr int kPatience = 1000;
  if (!Start(program, what + " " + LinuxName(file))) throw std::runtime_error(program + " cannot be started");
  for (int turn = 0; turn < kPatience && state(file) != wanted; ++turn) Sleep(10);
  if (state(file) != wanted) throw std::runtime_error(file + ": owner or mode cannot be changed");
}

}  // namespace

const char* const kStranger = "S-1-5-7";

bool CanGiveAway() {
  return !LinuxName("Z:\\").empty() && std::filesystem::exists("Z:\\usr\\bin\\chown") && !IsForeign("Z:\\root");
}

void GiveAway(const std::string& file) { Change("chown", "-h 12345", file, IsForeign, true); }
void TakeBack(const std::string& file) { Change("chown", "-h 0", file, IsForeign, false); }
void OpenToAll(const std::string& folder) { Change("chmod", "1777", folder, IsOpen, true); }
void OpenToOwner(const std::string& folder) { Change("chmod", "0755", folder, IsOpen, false); }

}  // namespace orv_test
