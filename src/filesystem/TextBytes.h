// Texts as the bytes that stand in a file: as they are in memory.
#pragma once

#include <bit>
#include <string_view>

namespace OrvWorkFlow::Core::FileSystem {

static_assert(std::endian::native == std::endian::little, "wide text stands in files with the low byte first");

template <class Char>
std::string_view BytesOf(std::basic_string_view<Char> text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(Char)};
}

}  // namespace OrvWorkFlow::Core::FileSystem
