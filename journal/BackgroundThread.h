#pragma once

namespace OrvWorkFlow::Journal {

// The calling thread gets less time of the processors than others that want it. It gets some, because it may hold
// what others wait for. Where the system refuses, it goes on as it is.
void RunInBackground();

}  // namespace OrvWorkFlow::Journal
