// Checksums and hashes of bytes that come in pieces.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Nodes {

// One run; not copied. Throws std::runtime_error where the platform's cryptography refuses.
class Digest {
 public:
  virtual ~Digest() = default;
  virtual void Add(const void* bytes, std::size_t size) = 0;
  // In small hexadecimal digits; called once, at the end.
  virtual std::string Text() = 0;

  static constexpr const char* kKinds[] = {"crc32", "xxh3", "sha256"};
  // One of these; throws std::runtime_error for any other name.
  static std::unique_ptr<Digest> Make(std::string_view kind);
};

// Of the platform's library.
std::unique_ptr<Digest> MakeSha256();

std::string HexDigits(const void* bytes, std::size_t size);

}  // namespace OrvWorkFlow::Nodes
