// The library's object "Encryption" in the hands of a verb.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IEncryption.h"
#include "OrvWorkFlow/host/WorkflowHost.h"

namespace OrvWorkFlow::Program {

// Loads the library and has it for as long as it lives.
class EncryptionAccess {
 public:
  // Throws ProgramError when the library or its object is missing.
  EncryptionAccess();

  IEncryption* operator->() const { return encryption_; }

  // The bytes of a base64 text; nothing when it holds anything but base64 and white space. The "=" at its end may be
  // missing.
  std::optional<std::string> Decode(const std::string& text) const;

 private:
  std::unique_ptr<Host::WorkflowHost> host_;
  std::unique_ptr<IBaseWorkFlowObject, Host::ObjectReleaser> object_;
  IEncryption* encryption_;
};

}  // namespace OrvWorkFlow::Program
