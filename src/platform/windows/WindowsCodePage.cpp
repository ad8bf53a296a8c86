// The system's ANSI code page.
#include <limits>

#include "platform/SystemParts.h"
#include "platform/windows/NativePath.h"

namespace OrvWorkFlow::Core::System {
namespace Windows {
namespace {

bool FitsAnInt(std::size_t size) { return size <= static_cast<std::size_t>(std::numeric_limits<int>::max()); }

bool WidenWith(DWORD flags, std::string_view narrow, std::u16string* wide) {
  const int size = static_cast<int>(narrow.size());
  const int needed = MultiByteToWideChar(CP_ACP, flags, narrow.data(), size, nullptr, 0);
  if (needed <= 0) return false;
  std::u16string result(static_cast<std::size_t>(needed), u'\0');
  if (MultiByteToWideChar(CP_ACP, flags, narrow.data(), size, Native(result.data()), needed) != needed) return false;
  *wide = std::move(result);
  return true;
}

bool WidenText(DWORD flags, std::string_view narrow, std::u16string* wide) {
  if (narrow.empty()) {
    wide->clear();
    return true;
  }
  if (!FitsAnInt(narrow.size())) return false;
  // UTF-8 as the ANSI code page takes no other flag.
  if (GetACP() == CP_UTF8) return WidenWith(MB_ERR_INVALID_CHARS, narrow, wide);
  return WidenWith(flags, narrow, wide) || (flags != 0 && WidenWith(0, narrow, wide));
}

class WindowsCodePage final : public CodePage {
 public:
  bool Widen(std::string_view narrow, std::u16string* wide) override { return WidenText(0, narrow, wide); }
  bool WidenPath(std::string_view narrow, std::u16string* wide) override {
    return WidenText(MB_USEGLYPHCHARS, narrow, wide);
  }

  bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
    if (!FitsAnInt(wide.size())) return false;
    std::string result;
    if (!wide.empty()) {
      const int size = static_cast<int>(wide.size());
      const int needed = WideCharToMultiByte(CP_ACP, 0, Native(wide.data()), size, nullptr, 0, nullptr, nullptr);
      if (needed <= 0) return false;
      result.resize(static_cast<std::size_t>(needed));
      const int done =
          WideCharToMultiByte(CP_ACP, 0, Native(wide.data()), size, result.data(), needed, nullptr, nullptr);
      if (done != needed) return false;
    }
    if (exact != nullptr) {
      std::u16string again;
      *exact = WidenText(0, result, &again) && again == wide;
    }
    *narrow = std::move(result);
    return true;
  }
};

}  // namespace
}  // namespace Windows

namespace SystemParts {

CodePage& TheCodePage() {
  static Windows::WindowsCodePage code_page;
  return code_page;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
