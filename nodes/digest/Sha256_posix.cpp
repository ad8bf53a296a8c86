#include <openssl/evp.h>

#include <array>
#include <stdexcept>

#include "nodes/digest/Digest.h"

namespace OrvWorkFlow::Nodes {

namespace {

class Sha256 final : public Digest {
 public:
  Sha256() : context_(EVP_MD_CTX_new(), &EVP_MD_CTX_free) {
    Expect(context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
  }
  void Add(const void* bytes, std::size_t size) override { Expect(EVP_DigestUpdate(context_.get(), bytes, size) == 1); }
  std::string Text() override {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes;
    unsigned int size = 0;
    Expect(EVP_DigestFinal_ex(context_.get(), bytes.data(), &size) == 1);
    return HexDigits(bytes.data(), size);
  }

 private:
  static void Expect(bool done) {
    if (!done) throw std::runtime_error("SHA-256 is refused by libcrypto");
  }

  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
};

}  // namespace

std::unique_ptr<Digest> MakeSha256() { return std::make_unique<Sha256>(); }

}  // namespace OrvWorkFlow::Nodes
