// Whether what happens in a workflow survives: for nodes that tell others of it.
#pragma once

#include <cstdint>

namespace OrvWorkFlow {

namespace InterfaceNames {
inline constexpr char kHostRecord[] = "IHostRecord";
}

// The global object "HostApp" answers to "IHostRecord" where the host has such a thing.
class IHostRecord {
 public:
  // Returns when all that happened before the call is there for the run that goes on after the process has died; after
  // the machine has, too, where the host's user chose that. True at once where the host promises nothing of the kind.
  // False when that cannot be had any more, as on a full disk: it is so again once CountSaves has grown. Any thread; it
  // may take as long as the disk does. What a delivery has done counts when that has ended.
  virtual bool AwaitRecord() = 0;

  // How often this process has saved the state. Nodes that work on threads of their own are stopped for that.
  virtual std::uint32_t CountSaves() = 0;

  // That node does nothing outside before AwaitRecord has answered for it: what is delivered to it from now on need not
  // wait for the disk, as deliveries to nodes that act outside do where the host's user chose that. For as long as
  // there is this object of it. Any thread.
  virtual void AwaitsItself(const char* type, const char* instance) = 0;

 protected:
  ~IHostRecord() = default;
};

}  // namespace OrvWorkFlow
