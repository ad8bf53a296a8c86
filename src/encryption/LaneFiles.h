// The functions of the files Lanes*.cpp, each compiled for the processor in its name.
#pragma once

#include "encryption/Lanes.h"

// For a function that keeps vectors on its stack: 32-bit Windows may call with a stack that is aligned to four bytes.
#if defined(__i386__)
#define ORV_LANE_ENTRY [[gnu::force_align_arg_pointer]]
#else
#define ORV_LANE_ENTRY
#endif

namespace OrvWorkFlow::Md5 {

extern const Lanes kPortableLanes;
extern const Lanes kSse2Lanes;
extern const Lanes kAvx2Lanes;
extern const Lanes kAvx512Lanes;

}  // namespace OrvWorkFlow::Md5
