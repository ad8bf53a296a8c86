// The utility object "Encryption": texts in an enciphered, printable form and back, and base64.
//
// The cipher is MD5 as the block function of a 16-byte cipher feedback, without an initialisation value; enciphered
// texts are its blocks in base64. It hides texts from a glance and protects nothing more: a changed text deciphers
// without an error, and texts that begin alike do so enciphered.
#pragma once

#include <cstddef>

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// In bytes. A longer key is refused by every cipher operation.
inline constexpr std::size_t kMaxKeyLength = 240;

// The operations in table order. Any thread; the object keeps nothing between two calls. False for a null argument, for
// a key that is too long and when an output cannot be filled; the output is as it was then. There is no last error. An
// output may be the object that is the input. A key is a text; an empty one is a key like any other.
class IEncryption : public IBaseWorkFlowObject {
 public:
  // The whole blocks, the last one filled up with zeros. A text of no characters makes one block.
  virtual bool EncryptToStream(const IOrvPString* text, const char* key, IOrvBasicStream* stream) = 0;

  // The blocks in base64, on one line. Of a text of 1 to 16 characters and of an empty one the form lacks its last "=":
  // it has 23 characters.
  virtual bool EncryptString(const char* text, const char* key, IOrvPString* enciphered) = 0;

  // The text up to its first zero character. Bytes behind the last whole block are deciphered too. What was enciphered
  // with another key gives some text, no failure.
  virtual bool DecryptStream(const IOrvBasicStream* stream, const char* key, IOrvPString* text) = 0;
  // Characters that are not base64 are skipped. A text of no characters, or of none that is base64, holds no block and
  // gives the empty text: true, and not the failure that a caller may expect.
  virtual bool DecryptString(const char* enciphered, const char* key, IOrvPString* text) = 0;

  // False, without a look at the arguments.
  virtual bool Reserved5(const void* first, const void* second) = 0;

  // EncryptString and DecryptString for every text of a list, in order. All or nothing: when an output list breaks off
  // while it is filled, it is left empty. An item is taken up to its first zero character, since what enciphers it
  // takes a zero-terminated text: what stands behind the zero is lost without a failure. EncryptToStream takes all of a
  // text.
  virtual bool EncryptList(const IOrvPStringList* texts, const char* key, IOrvPStringList* enciphered) = 0;

  // False, without a look at the arguments.
  virtual bool Reserved7(const void* first, const void* second) = 0;

  virtual bool DecryptList(const IOrvPStringList* enciphered, const char* key, IOrvPStringList* texts) = 0;

  // All characters of the text, zeros too, with "=" to a multiple of four, on one line.
  virtual bool Base64Encode(const IOrvPString* text, IOrvPString* base64) = 0;
  // Characters that are not base64 are skipped; the first "=" ends.
  virtual bool Base64Decode(const char* base64, IOrvBasicStream* bytes) = 0;

 protected:
  ~IEncryption() = default;
};

}  // namespace OrvWorkFlow
