#include "signalmediator/AccessLock.h"

namespace OrvWorkFlow::Core::Mediator {

AccessLock::~AccessLock() {
  if (mutex_ != nullptr) mutex_->Release();
}

}  // namespace OrvWorkFlow::Core::Mediator
