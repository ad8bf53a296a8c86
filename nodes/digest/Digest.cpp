#include "nodes/digest/Digest.h"

#include <xxhash.h>

#include <cstdint>
#include <stdexcept>

#include "nodes/files/Crc32.h"

namespace OrvWorkFlow::Nodes {

namespace {

class Crc32Digest final : public Digest {
 public:
  void Add(const void* bytes, std::size_t size) override { sum_ = Crc32(bytes, size, sum_); }
  std::string Text() override {
    const unsigned char bytes[] = {static_cast<unsigned char>(sum_ >> 24), static_cast<unsigned char>(sum_ >> 16),
                                   static_cast<unsigned char>(sum_ >> 8), static_cast<unsigned char>(sum_)};
    return HexDigits(bytes, sizeof(bytes));
  }

 private:
  std::uint32_t sum_ = 0;
};

class Xxh3Digest final : public Digest {
 public:
  Xxh3Digest() : state_(XXH3_createState()) {
    if (state_ == nullptr) throw std::bad_alloc();
    XXH3_64bits_reset(state_);
  }
  Xxh3Digest(const Xxh3Digest&) = delete;
  Xxh3Digest& operator=(const Xxh3Digest&) = delete;
  ~Xxh3Digest() override { XXH3_freeState(state_); }

  void Add(const void* bytes, std::size_t size) override { XXH3_64bits_update(state_, bytes, size); }
  std::string Text() override {
    XXH64_canonical_t bytes;
    XXH64_canonicalFromHash(&bytes, XXH3_64bits_digest(state_));
    return HexDigits(bytes.digest, sizeof(bytes.digest));
  }

 private:
  XXH3_state_t* state_;
};

}  // namespace

std::unique_ptr<Digest> Digest::Make(std::string_view kind) {
  if (kind == "crc32") return std::make_unique<Crc32Digest>();
  if (kind == "xxh3") return std::make_unique<Xxh3Digest>();
  if (kind == "sha256") return MakeSha256();
  throw std::runtime_error("there is no checksum \"" + std::string(kind) + "\": it is crc32, xxh3 or sha256");
}

std::string HexDigits(const void* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    const unsigned char byte = static_cast<const unsigned char*>(bytes)[i];
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace OrvWorkFlow::Nodes
