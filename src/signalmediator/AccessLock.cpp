#include "signalmediator/AccessLock.h"

#include "CoreObjects/MediatorLockDepth.h"

namespace OrvWorkFlow::Core::Mediator {

AccessLock::~AccessLock() {
  if (mutex_ != nullptr) mutex_->Release();
}

void AccessLock::Acquire() {
  if (mutex_ == nullptr) return;
  mutex_->Lock();
  ++MediatorLockDepth();
}

void AccessLock::GiveBack() {
  if (mutex_ == nullptr) return;
  --MediatorLockDepth();
  mutex_->Unlock();
}

}  // namespace OrvWorkFlow::Core::Mediator
