// printf-style formatting into a string, for texts whose pieces may have any length.
#pragma once

#include <string>

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow::Core {

ORV_PRINTF_LIKE(1, 2) std::string Format(const char* format, ...);

}  // namespace OrvWorkFlow::Core
