#include "orvflow/verbs/EncryptionAccess.h"
#include "OrvWorkFlow/Names.h"

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

std::string_view WithoutEnd(std::string_view base64) { return base64.substr(0, base64.find_last_not_of('=') + 1); }

}  // namespace

EncryptionAccess::EncryptionAccess()
    : host_(std::make_unique<Host::WorkflowHost>()),
      object_(WorkFlowFactory::CreateNewObject(ObjectNames::kEncryption)) {
  encryption_ =
      object_ == nullptr ? nullptr : static_cast<IEncryption*>(object_->QueryInterface(InterfaceNames::kEncryption));
  if (encryption_ == nullptr) throw ProgramError(ExitCode::PluginBroken, "the library has no object Encryption");
}

// The library skips what is no base64; here that has to be noticed. What a text decodes to makes the same text again.
std::optional<std::string> EncryptionAccess::Decode(const std::string& text) const {
  std::string digits = text;
  std::erase_if(digits, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
  if (digits.find('\0') != std::string::npos) return std::nullopt;
  const Sdk::StreamHolder stream;
  if (!encryption_->Base64Decode(digits.c_str(), stream.get())) return std::nullopt;
  const std::string bytes(static_cast<const char*>(stream->GetData()), stream->GetSize());
  const Sdk::TextHolder plain;
  const Sdk::TextHolder again;
  plain->Assign(bytes.data(), bytes.size());
  if (!encryption_->Base64Encode(plain.get(), again.get())) return std::nullopt;
  if (WithoutEnd(again.Text()) != WithoutEnd(digits)) return std::nullopt;
  return bytes;
}

}  // namespace OrvWorkFlow::Program
