// Loading the libraries of work nodes and making nodes of them, on their first signal or when the host asks for it.
#pragma once

#include <string>
#include <unordered_set>

#include "CoreObjects/TextHash.h"
#include "signalmediator/MediatorContext.h"
#include "signalmediator/signals/InputSignal.h"

namespace OrvWorkFlow::Core::Mediator {

// Nodes and their libraries are foreign code, called with the access lock held. The operations marked "locked" want
// that held already.
class NodeLoader {
 public:
  // `handler` becomes that of each node; both must outlive this.
  NodeLoader(MediatorContext& context, IOutgoingSignalHandler& handler) : context_(context), handler_(handler) {}

  // Locked. Forgets nodes and libraries.
  void Clear();
  // The libraries of all types, and all instances if they are to be made. Throws when the dictionary cannot be listed.
  void LoadAll(bool instantiate);

  // Locked. False, after a box, when the type's library cannot be loaded.
  bool EnsureTypeIsLoaded(const char* type);
  // The place of none when there is no such node and none can be made.
  WorkNodeList::Place EnsureNodeIsMade(const InputSignal& signal);

 private:
  bool LoadType(const std::string& type, bool instantiate);
  void MakeInstance(const std::string& type, const std::string& instance);
  bool MakeNode(IDictionary& dictionary, const std::string& type, const std::string& instance);
  // For the observer of the run.
  void DescribeNode(WorkNodeEntry& entry, const std::string& type, const std::string& instance) const;

  MediatorContext& context_;
  IOutgoingSignalHandler& handler_;
  std::unordered_set<std::string, TextHash, std::equal_to<>> loaded_types_ ORV_GUARDED_BY(context_.access_lock);
};

}  // namespace OrvWorkFlow::Core::Mediator
