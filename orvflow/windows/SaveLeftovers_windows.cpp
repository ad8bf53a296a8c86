#include "base/windows/FileAccess.h"

#include "host/files/HostFiles.h"
#include "host/windows/WidePath.h"
#include "orvflow/files/SaveLeftovers.h"

namespace OrvWorkFlow::Program {

// A save shares its file with nobody while it writes.
void RemoveSaveLeftover(const std::string& file) {
  if (Base::FileAccess(Host::Widen(file)).ForeignOwner().empty()) Host::RemoveDurably(file);
}

}  // namespace OrvWorkFlow::Program
