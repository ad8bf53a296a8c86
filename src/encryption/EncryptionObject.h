// This folder holds the utility object "Encryption".
//
//   EncryptionObject   the interface
//   Cipher             enciphering and deciphering in place
//   BlockFunction      the cipher's digest, prepared for a key; Md5 and ScalarWord: the compression
//   Lanes              many blocks side by side: LaneKernel, LaneVector, and a file LanesX for each kind of processor
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IEncryption.h"

namespace OrvWorkFlow::Core::Encryption {

class CEncryption final : public BaseObject<CEncryption, IEncryption> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kEncryption;

  void* QueryInterface(const char* interface_name) override;

  bool EncryptToStream(const IOrvPString* text, const char* key, IOrvBasicStream* stream) override;
  bool EncryptString(const char* text, const char* key, IOrvPString* enciphered) override;
  bool DecryptStream(const IOrvBasicStream* stream, const char* key, IOrvPString* text) override;
  bool DecryptString(const char* enciphered, const char* key, IOrvPString* text) override;
  bool Reserved5(const void* /*first*/, const void* /*second*/) override { return false; }
  bool EncryptList(const IOrvPStringList* texts, const char* key, IOrvPStringList* enciphered) override;
  bool Reserved7(const void* /*first*/, const void* /*second*/) override { return false; }
  bool DecryptList(const IOrvPStringList* enciphered, const char* key, IOrvPStringList* texts) override;
  bool Base64Encode(const IOrvPString* text, IOrvPString* base64) override;
  bool Base64Decode(const char* base64, IOrvBasicStream* bytes) override;
};

using CEncryptionObjectCreator = ObjectCreator<CEncryption, ObjectNames::kEncryption>;

}  // namespace OrvWorkFlow::Core::Encryption
