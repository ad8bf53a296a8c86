// Whose turn it is at changing or replacing a file.
#pragma once

#include <string>

#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System::Windows {

// Waits until nobody else of this session has the turn at the file of that path, whatever its letter case, for two
// seconds at most. Null, with the reason, when that takes longer.
HANDLE TakeTurn(const std::u16string& whole_path);
// On the thread that took it; null is fine. Keeps the last error.
void EndTurn(HANDLE turn);

// A turn that ends with its scope.
class Turn {
 public:
  explicit Turn(const std::u16string& whole_path) : turn_(TakeTurn(whole_path)) {}
  ~Turn() { EndTurn(turn_); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  explicit operator bool() const { return turn_ != nullptr; }
  HANDLE Give() {
    const HANDLE turn = turn_;
    turn_ = nullptr;
    return turn;
  }

 private:
  HANDLE turn_;
};

}  // namespace OrvWorkFlow::Core::System::Windows
