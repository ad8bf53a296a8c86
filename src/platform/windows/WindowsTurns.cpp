#include "platform/windows/WindowsTurns.h"

#include <cstdint>

#include "platform/SystemParts.h"

namespace OrvWorkFlow::Core::System::Windows {
namespace {

constexpr DWORD kMostMilliseconds = 2000;

// Names of mutexes are short and hold no backslash: two files in 2^64 share one, which costs them some waiting.
std::u16string NameOf(const std::u16string& whole_path) {
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const char16_t c : Capitals(whole_path)) hash = (hash ^ c) * 0x100000001B3ULL;
  std::u16string name = u"Local\\OrvFlow-file-";
  for (int i = 0; i < 16; ++i, hash >>= 4) name += u"0123456789abcdef"[hash & 15];
  return name;
}

}  // namespace

HANDLE TakeTurn(const std::u16string& whole_path) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, Native(NameOf(whole_path).c_str()));
  if (mutex == nullptr) return nullptr;
  const DWORD result = WaitForSingleObject(mutex, kMostMilliseconds);
  // Who had it may have died: what it was changing is whole or as it was.
  if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) return mutex;
  CloseHandle(mutex);
  SetLastError(WAIT_TIMEOUT);
  return nullptr;
}

void EndTurn(HANDLE turn) {
  if (turn == nullptr) return;
  const KeptReason kept(SystemParts::TheReasons());
  ReleaseMutex(turn);
  CloseHandle(turn);
}

}  // namespace OrvWorkFlow::Core::System::Windows
