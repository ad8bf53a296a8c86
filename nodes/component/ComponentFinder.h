// What the engine asks about a workflow that is being absorbed: which of its components are new to this process. It
// gets no signals.
#pragma once

#include "OrvWorkFlow/IComponentFinder.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class ComponentFinder final : public Sdk::WorkNodeBase, public IComponentFinder {
 public:
  static constexpr char kTypeName[] = "FindNewComponentsFromAbsorbedFlow";
  static const NodeDescription kDescription;
  ComponentFinder() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  // Also "IComponentFinder".
  void* QueryInterface(const char* interface_name) override;

  // Adds the names of the work-node types and global utility objects of the workflow that no loaded library holds.
  // False when an argument is null or the file is no dictionary.
  bool FindNewComponents(const char* flow_file_path, IOrvPStringList* components) override;

 private:
  bool OnSignal(std::string_view /*signal*/) override { return false; }
};

}  // namespace OrvWorkFlow::Nodes
