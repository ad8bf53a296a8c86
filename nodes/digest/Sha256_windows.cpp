#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// After windows.h.
#include <bcrypt.h>

#include <array>
#include <cstdint>
#include <stdexcept>

#include "nodes/digest/Digest.h"

namespace OrvWorkFlow::Nodes {

namespace {

class Sha256 final : public Digest {
 public:
  Sha256() {
    const bool opened = BCryptOpenAlgorithmProvider(&provider_, BCRYPT_SHA256_ALGORITHM, nullptr, 0) >= 0;
    if (!opened || BCryptCreateHash(provider_, &hash_, nullptr, 0, nullptr, 0, 0) < 0) {
      if (opened) BCryptCloseAlgorithmProvider(provider_, 0);
      throw std::runtime_error(kRefused);
    }
  }
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;
  ~Sha256() override {
    BCryptDestroyHash(hash_);
    BCryptCloseAlgorithmProvider(provider_, 0);
  }

  void Add(const void* bytes, std::size_t size) override {
    auto* const first = static_cast<unsigned char*>(const_cast<void*>(bytes));  // it is not written to
    if (BCryptHashData(hash_, first, static_cast<ULONG>(size), 0) < 0) throw std::runtime_error(kRefused);
  }
  std::string Text() override {
    std::array<unsigned char, 32> bytes;
    if (BCryptFinishHash(hash_, bytes.data(), static_cast<ULONG>(bytes.size()), 0) < 0) {
      throw std::runtime_error(kRefused);
    }
    return HexDigits(bytes.data(), bytes.size());
  }

 private:
  static constexpr char kRefused[] = "SHA-256 is refused by the system";

  BCRYPT_ALG_HANDLE provider_ = nullptr;
  BCRYPT_HASH_HANDLE hash_ = nullptr;
};

}  // namespace

std::unique_ptr<Digest> MakeSha256() { return std::make_unique<Sha256>(); }

}  // namespace OrvWorkFlow::Nodes
