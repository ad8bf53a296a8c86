// What the work nodes of the test plug-ins share: the base protocol and the node operations that do nothing.
#pragma once

#include <cstring>
#include <new>
#include <string>

#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

template <class Node>
class TestNode : public OrvWorkFlow::Sdk::ObjectProtocol<Node, OrvWorkFlow::IWorkNode> {
 public:
  bool GetInstanceName(OrvWorkFlow::IOrvPString* name) override {
    return this->AssignText(name, instance_name_.c_str());
  }
  bool StopWork() override { return false; }
  void SetOutgoingSignalHandler(OrvWorkFlow::IOutgoingSignalHandler* handler) override { handler_ = handler; }
  bool GetRebootSignal(OrvWorkFlow::IOrvPString* /*signal_name*/) override { return false; }
  bool GetProperty(const char* /*property_name*/, OrvWorkFlow::IOrvPString* /*value*/) override { return false; }
  bool Initialise(const char* instance_name) override {
    instance_name_ = instance_name;
    return true;
  }

 protected:
  explicit TestNode(const char* type_name)
      : OrvWorkFlow::Sdk::ObjectProtocol<Node, OrvWorkFlow::IWorkNode>(type_name, "IWorkNode") {}
  ~TestNode() = default;

  const std::string& instance() const { return instance_name_; }
  OrvWorkFlow::IOutgoingSignalHandler* handler() const { return handler_; }

 private:
  std::string instance_name_;
  OrvWorkFlow::IOutgoingSignalHandler* handler_ = nullptr;
};

// `Node` has `static constexpr const char* kTypeName`.
template <class Node>
class TestNodeCreator final : public OrvWorkFlow::IFactoryObjectCreator {
 public:
  bool GetObjectName(OrvWorkFlow::IOrvPString* name) override {
    return name->Assign(Node::kTypeName, std::strlen(Node::kTypeName));
  }
  bool GetVersion(OrvWorkFlow::IOrvPString* version) override { return version->Assign("1", 1); }
  OrvWorkFlow::IBaseWorkFlowObject* Create() override { return new Node; }
  bool CreatesWorkNodes() override { return true; }
  OrvWorkFlow::IFactoryObjectCreator* Clone() override { return new (std::nothrow) TestNodeCreator; }
  void Destroy() override { delete this; }
};

}  // namespace orv_test
