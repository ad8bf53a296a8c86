// Why the file system's last call failed, in words for the user.
#pragma once

#include <string>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Sdk {

// "TEXT: permission denied": with the reason of the calling thread's last failure, or the text alone when none is
// known. To be called before any other operation of the file system.
inline std::string WithReason(IFileSystemA& file_system, const std::string& text) {
  const std::string reason =
      TextFrom([&](IOrvPString* out) { return file_system.GetLastFailure(nullptr, nullptr, out); });
  return reason.empty() ? text : text + ": " + reason;
}

}  // namespace OrvWorkFlow::Sdk
