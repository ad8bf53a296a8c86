#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow::Core::Engine {

void SignalQueue::Grow() {
  std::vector<QueueEntry> larger(2 * slots_.size());
  for (std::size_t i = 0; i < size_; ++i) larger[i] = std::move(slots_[Place(i)]);
  slots_ = std::move(larger);
  head_ = 0;
}

}  // namespace OrvWorkFlow::Core::Engine
