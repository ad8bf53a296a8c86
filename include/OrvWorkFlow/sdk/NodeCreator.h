// The creator of one type of work nodes.
#pragma once

#include <cstring>
#include <new>

#include "OrvWorkFlow/IFactoryObjectCreator.h"

namespace OrvWorkFlow::Sdk {

// `Node` has `static constexpr char kTypeName[]`, the name under which workflows mention it.
template <class Node>
class NodeCreator final : public IFactoryObjectCreator {
 public:
  bool GetObjectName(IOrvPString* name) override {
    return name != nullptr && name->Assign(Node::kTypeName, std::strlen(Node::kTypeName));
  }
  bool GetVersion(IOrvPString* version) override {
    static constexpr char kVersion[] = "1.0";
    return version != nullptr && version->Assign(kVersion, std::strlen(kVersion));
  }
  IBaseWorkFlowObject* Create() override { return new Node; }
  bool CreatesWorkNodes() override { return true; }
  IFactoryObjectCreator* Clone() override { return new (std::nothrow) NodeCreator; }
  void Destroy() override { delete this; }
};

}  // namespace OrvWorkFlow::Sdk
