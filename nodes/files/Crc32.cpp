#include "nodes/files/Crc32.h"

#include <array>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr std::array<std::uint32_t, 256> MakeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit) remainder = (remainder >> 1) ^ ((remainder & 1u) != 0 ? 0xEDB88320u : 0u);
    table[byte] = remainder;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

}  // namespace

std::uint32_t Crc32(const void* data, std::size_t size, std::uint32_t previous) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::uint32_t remainder = ~previous;
  for (std::size_t i = 0; i < size; ++i) remainder = (remainder >> 8) ^ kTable[(remainder ^ bytes[i]) & 0xFFu];
  return ~remainder;
}

}  // namespace OrvWorkFlow::Nodes
