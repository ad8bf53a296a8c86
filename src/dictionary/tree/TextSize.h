#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace OrvWorkFlow::Core::Dictionary {

// No text, file or output of a dictionary is longer: lengths and positions are kept in 32 bits.
inline constexpr std::size_t kMaxTextSize = std::numeric_limits<std::uint32_t>::max() - 1;

}  // namespace OrvWorkFlow::Core::Dictionary
