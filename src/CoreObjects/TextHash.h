// Looking texts up in unordered containers without making a string of them.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace OrvWorkFlow::Core {

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
};

}  // namespace OrvWorkFlow::Core
