// Numbers of things.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Base {

// "1 signal", "2 signals".
inline std::string Counted(std::uint64_t number, std::string_view thing) {
  return std::to_string(number).append(1, ' ').append(thing).append(number == 1 ? "" : "s");
}

}  // namespace OrvWorkFlow::Base
