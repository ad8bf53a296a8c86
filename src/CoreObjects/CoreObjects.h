// This folder holds what all subsystems of the library share: the base object, the creator template, holders of
// marshalled objects, finding other objects by name, tracing, the box routine; and the registration of the seven
// creators.
#pragma once

#include "OrvWorkFlow/Names.h"

namespace OrvWorkFlow::Core {

// Every object and every creator answers this version key.
inline constexpr char kVersionKey[] = "TAVIROVERSION";

}  // namespace OrvWorkFlow::Core
