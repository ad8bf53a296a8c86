// The delivery that the node at hand is handling.
#pragma once

#include <cstdint>
#include <optional>

namespace OrvWorkFlow::Sdk {

struct Delivery {
  std::int64_t number;   // of the run, counted from 1
  std::int64_t attempt;  // 1 for the first
};

// Nothing where the host does not tell.
std::optional<Delivery> CurrentDelivery();

}  // namespace OrvWorkFlow::Sdk
