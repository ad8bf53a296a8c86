// The instantiated work nodes, in the order of their creation and findable by name.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "OrvWorkFlow/IWorkNode.h"

namespace OrvWorkFlow {

// One instance. Whoever holds an entry may use its node: the node is released with the last holder, so a node that the
// list has forgotten lives until its running delivery ends.
struct WorkNodeEntry {
  explicit WorkNodeEntry(std::string definition_path) : definition(std::move(definition_path)) {}
  ~WorkNodeEntry();
  WorkNodeEntry(const WorkNodeEntry&) = delete;
  WorkNodeEntry& operator=(const WorkNodeEntry&) = delete;

  // Asks the node (there must be one) for its names and remembers them; a node that does not answer is found under no
  // name.
  void RememberNames() noexcept;

  IWorkNode* node = nullptr;     // owned
  const std::string definition;  // the dictionary path of the instance
  std::string type;
  std::string instance;
  bool has_names = false;
};

using WorkNodePointer = std::shared_ptr<WorkNodeEntry>;

// The live answers of a node. False, with the texts possibly half replaced, when it does not answer; what it throws
// passes through.
bool AskNames(IWorkNode& node, std::string& type, std::string& instance);

// True when the node's property of that name is "yes"; false also when it throws.
bool HasProperty(IWorkNode& node, const char* property) noexcept;

// Properties that the mediator asks for, and the type of the nodes that absorb flows.
inline constexpr char kBusyProperty[] = "Busy";
inline constexpr char kComponentProperty[] = "Component";
inline constexpr char kAbsorbingType[] = "AbsorbWorkflow";

// Any thread. A leaf lock guards the list; no node is called under it. Walk a snapshot: nodes may come back to the
// mediator and change the list.
class WorkNodeList {
 public:
  using Snapshot = std::vector<WorkNodePointer>;

  WorkNodeList() = default;
  ~WorkNodeList() { Clear(); }
  WorkNodeList(const WorkNodeList&) = delete;
  WorkNodeList& operator=(const WorkNodeList&) = delete;

  // Of two entries with the same names the first appended is found. Unchanged when it throws (no memory).
  void Append(const WorkNodePointer& entry);

  // Null when there is none.
  WorkNodePointer Find(std::string_view type, std::string_view instance) const;
  WorkNodePointer FindNode(const IWorkNode* node) const;

  Snapshot Copy() const;

  // Forgets all entries and releases, in list order, the nodes that nobody uses.
  void Clear() noexcept;

 private:
  struct Name {
    std::string_view type;
    std::string_view instance;
    bool operator==(const Name&) const = default;
  };
  struct NameHash {
    std::size_t operator()(const Name& name) const noexcept;
  };

  mutable std::mutex mutex_;
  Snapshot entries_;
  std::unordered_map<Name, WorkNodePointer, NameHash> by_name_;  // the names are the entries' own texts
  std::unordered_map<const IWorkNode*, WorkNodePointer> by_node_;
};

}  // namespace OrvWorkFlow
