// What the files Lanes*.cpp and Chain*.cpp offer, each compiled for the processor in its name; and, for few blocks, the
// serial ways.
#pragma once

#include "encryption/Lanes.h"

// For a function that keeps vectors on its stack: 32-bit Windows may call with a stack that is aligned to four bytes.
#if defined(__i386__)
#define ORV_LANE_ENTRY [[gnu::force_align_arg_pointer]]
#else
#define ORV_LANE_ENTRY
#endif

namespace OrvWorkFlow::Core::Encryption::Md5 {

extern const Lanes kPortableLanes;
extern const Lanes kSse2Lanes;
extern const Lanes kAvx2Lanes;
extern const Lanes kAvx512Lanes;
extern const Lanes kSerialLanes;
extern const Chain kAvx512Chain;
extern const Chain kSerialChain;

}  // namespace OrvWorkFlow::Core::Encryption::Md5
