#include "platform/Platform.h"

#include "platform/SystemParts.h"

namespace OrvWorkFlow::Core::System {

Platform& SystemPlatform() {
  static Platform platform{{SystemParts::Files<char>(), SystemParts::Directories<char>(), SystemParts::Trees<char>(),
                            SystemParts::Locations<char>()},
                           {SystemParts::Files<char16_t>(), SystemParts::Directories<char16_t>(),
                            SystemParts::Trees<char16_t>(), SystemParts::Locations<char16_t>()},
                           SystemParts::Handles(),
                           SystemParts::TheCodePage(),
                           SystemParts::TheReasons(),
                           SystemParts::Written()};
  return platform;
}

}  // namespace OrvWorkFlow::Core::System
