// The ways to encipher and to decipher many blocks, by what the processor offers.
#pragma once

#include <cstddef>

#include "encryption/BlockFunction.h"

namespace OrvWorkFlow::Core::Encryption::Md5 {

// Deciphers `count` blocks in place; one more cipher block stands before `blocks`.
using DecipherBlocks = void(const PreparedKey& key, unsigned char* blocks, std::size_t count);

// One of them: `lanes` blocks at a time.
struct Lanes {
  const char* name;
  unsigned lanes;
  DecipherBlocks* decipher;
};

// Those that this processor can run, the fastest first; the portable one is the last.
struct LanesList {
  const Lanes* begin;
  const Lanes* end;
};
LanesList SupportedLanes();

// Enciphers `count` blocks in place, one after the other, as each waits for the one before; one more cipher block
// stands before `blocks`.
using EncipherBlocks = void(const PreparedKey& key, unsigned char* blocks, std::size_t count);

// One way to do that.
struct Chain {
  const char* name;
  EncipherBlocks* encipher;
};

// Those that this processor can run, the fastest first; the last takes one number at a time.
struct ChainsList {
  const Chain* begin;
  const Chain* end;
};
ChainsList SupportedChains();

}  // namespace OrvWorkFlow::Core::Encryption::Md5
