// The cipher: MD5 as the block function of a 16-byte cipher feedback.
//
//   K = D(initialisation value), or D() without one, where D(x) = MD5(key followed by x)
//   for each block: cipher block = plain block xor K; K = D(cipher block)
//
// It hides, it does not protect: nothing tells a changed text from the true one, and texts that begin alike do so
// enciphered. Keep to it where old files must be read.
#pragma once

#include <cstddef>
#include <string_view>

#include "encryption/Lanes.h"

namespace OrvWorkFlow::Core::Encryption {

inline constexpr std::size_t kCipherBlockSize = 16;

// Whole blocks for a text of so many bytes.
constexpr std::size_t CipherSize(std::size_t size) {
  return (size / kCipherBlockSize + (size % kCipherBlockSize != 0)) * kCipherBlockSize;
}

// Change `size` bytes, a whole number of blocks, in place. `initial` is empty or one block. False, and nothing done,
// for a key of more than kMaxKeyLength bytes. No memory is allocated; what holds the key is wiped.
bool Encipher(void* data, std::size_t size, std::string_view key, std::string_view initial = {}) noexcept;
bool Decipher(void* data, std::size_t size, std::string_view key, std::string_view initial = {}) noexcept;

// The same in a chosen way.
bool EncipherWith(const Md5::Chain& chain, void* data, std::size_t size, std::string_view key,
                  std::string_view initial = {}) noexcept;
bool DecipherWith(const Md5::Lanes& lanes, void* data, std::size_t size, std::string_view key,
                  std::string_view initial = {}) noexcept;

}  // namespace OrvWorkFlow::Core::Encryption
