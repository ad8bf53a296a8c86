#include "encryption/EncryptionObject.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/guard/Guarded.h"
#include "base/secret/Secret.h"
#include "base/text/Base64.h"
#include "encryption/Cipher.h"

namespace OrvWorkFlow::Core::Encryption {
namespace {

// The blocks that a text fills: an empty one holds a zero.
std::size_t BlocksSize(std::size_t length) { return CipherSize(std::max<std::size_t>(length, 1)); }

std::string_view TextOf(Base::SecretBytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Puts the enciphered blocks of the text where there are zeros; false when the key is too long.
bool EncipherInto(unsigned char* blocks, std::string_view text, std::string_view key) {
  text.copy(reinterpret_cast<char*>(blocks), text.size());
  return Encipher(blocks, BlocksSize(text.size()), key);
}

// Calls `use` with the enciphered blocks of the text; false when the key is too long.
template <class Use>
bool WithEnciphered(std::string_view text, std::string_view key, Use&& use) {
  Base::SecretBytes blocks(BlocksSize(text.size()));
  return EncipherInto(blocks.data(), text, key) && use(TextOf(blocks));
}

// The same with their text form. That of one block has always lost its last character: it was cut to a buffer of one
// and a half times the blocks' size, which has no room for it and the terminator.
template <class Use>
bool WithTextForm(std::string_view text, std::string_view key, Use&& use) {
  const std::size_t size = BlocksSize(text.size());
  Base::SecretBytes memory(size + Base::Base64Length(size));  // The blocks, and their form behind them.
  if (!EncipherInto(memory.data(), text, key)) return false;
  auto* const form = reinterpret_cast<char*>(memory.data()) + size;
  Base::EncodeBase64(memory.data(), size, form);
  return use(std::string_view(form, Base::Base64Length(size) - (size == kCipherBlockSize ? 1 : 0)));
}

// Deciphers the first `size` bytes of a buffer of whole blocks and calls `use` with their text up to its first zero.
template <class Use>
bool WithDeciphered(Base::SecretBytes& buffer, std::size_t size, std::string_view key, Use&& use) {
  if (!Decipher(buffer.data(), CipherSize(size), key)) return false;
  const std::string_view text = TextOf(buffer).substr(0, size);
  return use(text.substr(0, text.find('\0')));
}

template <class Use>
bool WithTextOfForm(std::string_view form, std::string_view key, Use&& use) {
  Base::SecretBytes buffer(CipherSize(Base::Base64DecodedRoom(form.size())));
  return WithDeciphered(buffer, Base::DecodeBase64(form, buffer.data()), key, use);
}

// Texts that are wiped in the end.
class SecretTexts {
 public:
  SecretTexts() = default;
  SecretTexts(const SecretTexts&) = delete;
  SecretTexts& operator=(const SecretTexts&) = delete;
  ~SecretTexts() {
    for (std::string& text : texts_) Base::Wipe(text.data(), text.size());
  }

  std::vector<std::string>& operator*() { return texts_; }

 private:
  std::vector<std::string> texts_;
};

// `form_of(text, key, use)` is one of the two directions.
template <class FormOf>
bool ConvertList(const IOrvPStringList* source, const char* key, IOrvPStringList* output, FormOf&& form_of) noexcept {
  return Base::Guarded([&] {
    SecretTexts texts;
    SecretTexts results;
    if (key == nullptr || output == nullptr || std::strlen(key) > kMaxKeyLength) return false;
    if (!ReadTexts(source, *texts)) return false;
    (*results).reserve((*texts).size());
    for (const std::string& text : *texts) {
      const auto keep = [&](std::string_view result) { return (*results).emplace_back(result), true; };
      // A text ends at its first zero here too, as it does for the operations on one.
      if (!form_of(std::string_view(text.c_str()), key, keep)) return false;
    }
    return AssignTexts(output, *results);
  });
}

}  // namespace

void* CEncryption::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kEncryption) != 0) return nullptr;
  return static_cast<IEncryption*>(this);
}

bool CEncryption::EncryptToStream(const IOrvPString* text, const char* key, IOrvBasicStream* stream) {
  return Base::Guarded([&] {
    if (text == nullptr || key == nullptr || stream == nullptr) return false;
    const std::string_view plain(text->GetText(), text->GetLength());
    return WithEnciphered(plain, key,
                          [&](std::string_view blocks) { return stream->Assign(blocks.data(), blocks.size()); });
  });
}

bool CEncryption::EncryptString(const char* text, const char* key, IOrvPString* enciphered) {
  return Base::Guarded([&] {
    if (text == nullptr || key == nullptr || enciphered == nullptr) return false;
    return WithTextForm(text, key, [&](std::string_view form) { return AssignText(enciphered, form); });
  });
}

bool CEncryption::DecryptStream(const IOrvBasicStream* stream, const char* key, IOrvPString* text) {
  return Base::Guarded([&] {
    if (stream == nullptr || key == nullptr || text == nullptr) return false;
    const std::size_t size = stream->GetSize();
    Base::SecretBytes buffer(CipherSize(size));
    if (size != 0) std::memcpy(buffer.data(), stream->GetData(), size);
    return WithDeciphered(buffer, size, key, [&](std::string_view plain) { return AssignText(text, plain); });
  });
}

bool CEncryption::DecryptString(const char* enciphered, const char* key, IOrvPString* text) {
  return Base::Guarded([&] {
    if (enciphered == nullptr || key == nullptr || text == nullptr) return false;
    return WithTextOfForm(enciphered, key, [&](std::string_view plain) { return AssignText(text, plain); });
  });
}

bool CEncryption::EncryptList(const IOrvPStringList* texts, const char* key, IOrvPStringList* enciphered) {
  return ConvertList(texts, key, enciphered, [](std::string_view text, const char* the_key, auto& use) {
    return WithTextForm(text, the_key, use);
  });
}

bool CEncryption::DecryptList(const IOrvPStringList* enciphered, const char* key, IOrvPStringList* texts) {
  return ConvertList(enciphered, key, texts, [](std::string_view form, const char* the_key, auto& use) {
    return WithTextOfForm(form, the_key, use);
  });
}

bool CEncryption::Base64Encode(const IOrvPString* text, IOrvPString* base64) {
  return Base::Guarded([&] {
    if (text == nullptr || base64 == nullptr) return false;
    return AssignText(base64, Base::EncodeBase64(std::string_view(text->GetText(), text->GetLength())));
  });
}

bool CEncryption::Base64Decode(const char* base64, IOrvBasicStream* bytes) {
  return Base::Guarded([&] {
    if (base64 == nullptr || bytes == nullptr) return false;
    const std::string decoded = Base::DecodeBase64(std::string_view(base64));
    return bytes->Assign(decoded.data(), decoded.size());
  });
}

}  // namespace OrvWorkFlow::Core::Encryption
