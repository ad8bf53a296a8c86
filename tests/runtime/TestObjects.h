// Creators and objects that write down what is done with them.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "tests/plugins/TestNode.h"

namespace orv_test {

using Journal = std::vector<std::string>;

class JournalObject final : public OrvWorkFlow::Sdk::ObjectProtocol<JournalObject, OrvWorkFlow::IBaseWorkFlowObject> {
 public:
  JournalObject(std::string name, Journal* journal)
      : ObjectProtocol("JournalObject", "IJournalObject"), name_(std::move(name)), journal_(journal) {}

  void Release() override {
    journal_->push_back("release " + name_);
    delete this;
  }

 private:
  std::string name_;
  Journal* journal_;
};

// How a journal creator's node behaves.
enum class NodeKind { kNone, kGood, kRefusesToInitialise, kThrowsInInitialise, kIsNoNode };

class JournalNode final : public TestNode<JournalNode> {
 public:
  JournalNode(NodeKind kind, Journal* journal) : TestNode("JournalNode"), kind_(kind), journal_(journal) {}

  void* QueryInterface(const char* interface_name) override {
    return kind_ == NodeKind::kIsNoNode ? nullptr : TestNode::QueryInterface(interface_name);
  }
  bool Signal(const char* /*signal_name*/) override { return true; }
  bool Initialise(const char* instance_name) override {
    journal_->push_back(std::string("initialise ") + instance_name);
    if (kind_ == NodeKind::kThrowsInInitialise) {
      throw std::string("thrown");
    }
    return kind_ != NodeKind::kRefusesToInitialise && TestNode::Initialise(instance_name);
  }
  void Release() override {
    journal_->push_back("release node");
    delete this;
  }

 private:
  NodeKind kind_;
  Journal* journal_;
};

class JournalCreator final : public OrvWorkFlow::IFactoryObjectCreator {
 public:
  JournalCreator(std::string name, Journal* journal, NodeKind kind = NodeKind::kNone)
      : name_(std::move(name)), journal_(journal), kind_(kind) {}

  bool GetObjectName(OrvWorkFlow::IOrvPString* name) override {
    ++name_calls;
    return name_ != "unreadable" && name->Assign(name_.data(), name_.size());
  }
  bool GetVersion(OrvWorkFlow::IOrvPString* version) override { return version->Assign("1", 1); }
  OrvWorkFlow::IBaseWorkFlowObject* Create() override {
    journal_->push_back("create " + name_);
    if (kind_ == NodeKind::kNone) {
      return new JournalObject(name_, journal_);
    }
    return new JournalNode(kind_, journal_);
  }
  bool CreatesWorkNodes() override { return kind_ != NodeKind::kNone; }
  OrvWorkFlow::IFactoryObjectCreator* Clone() override {
    return new JournalCreator(name_ + "'s clone", journal_, kind_);
  }
  void Destroy() override {
    journal_->push_back("destroy " + name_);
    delete this;
  }

  int name_calls = 0;

 private:
  std::string name_;
  Journal* journal_;
  NodeKind kind_;
};

}  // namespace orv_test
