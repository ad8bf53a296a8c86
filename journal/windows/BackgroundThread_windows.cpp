#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <windows.h>

#include "journal/BackgroundThread.h"

namespace OrvWorkFlow::Journal {

void RunInBackground() { SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL); }

}  // namespace OrvWorkFlow::Journal
