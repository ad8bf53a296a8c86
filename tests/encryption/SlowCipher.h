// MD5 and the cipher as their definitions say it, one step after the other: what the fast ones are compared with.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

namespace OrvWorkFlow::Core::Encryption::EncryptionTesting {

// RFC 1321, with the sines computed.
inline std::string SlowMd5(std::string message) {
  static constexpr int kRotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
  const std::uint64_t bits = message.size() * 8;
  message += '\x80';
  while (message.size() % 64 != 56) message += '\0';
  for (int i = 0; i < 8; ++i) message += static_cast<char>(bits >> (8 * i) & 0xFF);
  std::array<std::uint32_t, 4> state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
  for (std::size_t block = 0; block < message.size(); block += 64) {
    auto [a, b, c, d] = state;
    for (std::size_t i = 0; i < 64; ++i) {
      const std::size_t round = i / 16;
      const std::uint32_t mixed[4] = {(b & c) | (~b & d), (d & b) | (~d & c), b ^ c ^ d, c ^ (b | ~d)};
      const std::size_t places[4] = {i, (5 * i + 1) % 16, (3 * i + 5) % 16, 7 * i % 16};
      std::uint32_t word = 0;
      for (std::size_t j = 0; j < 4; ++j) {
        const auto byte = static_cast<unsigned char>(message[block + 4 * places[round] + j]);
        word |= static_cast<std::uint32_t>(byte) << (8 * j);
      }
      const auto sine = static_cast<std::uint32_t>(std::fabs(std::sin(static_cast<double>(i + 1))) * 4294967296.0);
      const std::uint32_t sum = a + mixed[round] + sine + word;
      a = d;
      d = c;
      c = b;
      b += std::rotl(sum, kRotations[round][i % 4]);
    }
    state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
  }
  std::string digest;
  for (const std::uint32_t word : state) {
    for (int i = 0; i < 4; ++i) digest += static_cast<char>(word >> (8 * i) & 0xFF);
  }
  return digest;
}

// `md5` is a function from a message to its digest. `data` is whole blocks.
template <class Md5>
std::string SlowEncipher(std::string data, const std::string& key, const std::string& initial, Md5&& md5) {
  std::string combined = md5(key + initial);
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (i % 16 == 0 && i > 0) combined = md5(key + data.substr(i - 16, 16));
    data[i] = static_cast<char>(data[i] ^ combined[i % 16]);
  }
  return data;
}

}  // namespace OrvWorkFlow::Core::Encryption::EncryptionTesting
