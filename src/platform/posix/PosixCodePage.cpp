// The code page of this platform is UTF-8: every conversion is exact or fails.
#include "base/text/Utf8.h"
#include "platform/SystemParts.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

class PosixCodePage final : public CodePage {
 public:
  bool Widen(std::string_view narrow, std::u16string* wide) override { return Base::Utf8ToUtf16(narrow, wide); }
  bool WidenPath(std::string_view narrow, std::u16string* wide) override { return Base::Utf8ToUtf16(narrow, wide); }
  bool Narrow(std::u16string_view wide, std::string* narrow, bool* exact) override {
    if (!Base::Utf16ToUtf8(wide, narrow)) return false;
    if (exact != nullptr) *exact = true;
    return true;
  }
};

}  // namespace
}  // namespace Posix

namespace SystemParts {

CodePage& TheCodePage() {
  static Posix::PosixCodePage code_page;
  return code_page;
}

}  // namespace SystemParts
}  // namespace OrvWorkFlow::Core::System
