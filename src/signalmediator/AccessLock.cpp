#include "signalmediator/AccessLock.h"

#include <utility>

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

void AccessLock::Hold::LetGo() {
  if (AccessLock* lock = std::exchange(lock_, nullptr)) lock->GiveBack();
}

}  // namespace OrvWorkFlow::Core::Mediator
