#include "filesystem/ErrorHook.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

class SilentHook final : public ErrorHook {};

}  // namespace

bool ErrorHook::Report(const Failure& /*failure*/) noexcept { return false; }

ErrorHook& SilentErrorHook() noexcept {
  static SilentHook hook;
  return hook;
}

}  // namespace OrvWorkFlow::Core::FileSystem
