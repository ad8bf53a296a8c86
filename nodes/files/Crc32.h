// The checksum CRC-32 (IEEE 802.3, reflected polynomial EDB88320), as zip, gzip and PNG use it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace OrvWorkFlow::Nodes {

// The checksum of `size` bytes; `data` may be null when `size` is 0. A block at a time: pass the checksum of what came
// before as `previous`.
std::uint32_t Crc32(const void* data, std::size_t size, std::uint32_t previous = 0);

}  // namespace OrvWorkFlow::Nodes
