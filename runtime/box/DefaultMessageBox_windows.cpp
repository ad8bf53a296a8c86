#include "base/windows/WindowsApi.h"

#include "runtime/box/DefaultMessageBox.h"

namespace OrvWorkFlow::Runtime {

void ShowDefaultMessageBox(const char* text, const char* caption) { MessageBoxA(nullptr, text, caption, MB_OK); }

}  // namespace OrvWorkFlow::Runtime
