#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "journal/BackgroundThread.h"

namespace OrvWorkFlow::Journal {

// A tenth of what a thread of the run gets.
void RunInBackground() {
  constexpr int kNice = 10;
  setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNice);
}

}  // namespace OrvWorkFlow::Journal
