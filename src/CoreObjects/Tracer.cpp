#include "CoreObjects/Tracer.h"

namespace OrvWorkFlow::Core {

void Tracer::SetLogger(ILogger* logger) noexcept {
  if (logger == nullptr) return;
  try {
    logger->SetDefaultCategory(kDefaultLogCategory);
  } catch (...) {  // A logger without a default category still logs.
  }
  logger_.store(logger, std::memory_order_release);
}

}  // namespace OrvWorkFlow::Core
