#include "sdk/CurrentDelivery.h"

namespace OrvWorkFlow::Sdk {

// The contract has no question for it yet.
std::optional<Delivery> CurrentDelivery() { return std::nullopt; }

}  // namespace OrvWorkFlow::Sdk
