#include "host/files/HostFiles.h"
#include "orvflow/files/SaveLeftovers.h"

namespace OrvWorkFlow::Program {

// A save shares its file with nobody while it writes.
void RemoveSaveLeftover(const std::string& file) { Host::RemoveDurably(file); }

}  // namespace OrvWorkFlow::Program
