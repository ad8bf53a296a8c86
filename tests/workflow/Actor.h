// A work node that does what the test says. Registered in this program, so that any library may be its home.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/plugins/TestNode.h"

namespace orv_test {

class Actor final : public TestNode<Actor> {
 public:
  static constexpr const char* kTypeName = "Actor";
  using Play = std::function<bool(Actor& actor, const std::string& instance, const std::string& signal)>;
  static Play& ThePlay() {
    static Play play;
    return play;
  }
  // What an actor does in its other operations, given by name; nothing where there is no such function. Set and emptied
  // while no workflow runs.
  using Aside = std::function<void(Actor& actor, const std::string& instance, const std::string& operation)>;
  static Aside& TheAside() {
    static Aside aside;
    return aside;
  }
  // Instances whose property "Component" is "yes". Set before the workflow runs.
  static std::set<std::string>& Components() {
    static std::set<std::string> components;
    return components;
  }

  Actor() : TestNode(kTypeName) {}
  bool Initialise(const char* instance_name) override {
    name_ = instance_name;
    return TestNode::Initialise(instance_name);
  }
  bool GetProperty(const char* name, OrvWorkFlow::IOrvPString* value) override {
    const bool is_component = std::string(name) == "Component" && Components().count(name_) != 0;
    return is_component && value->Assign("yes", 3);
  }
  bool Signal(const char* signal_name) override { return ThePlay()(*this, name_, signal_name); }
  bool LoadState(const char* /*path*/) override { return Do("LoadState"); }
  bool SaveState(const char* /*path*/) override { return Do("SaveState"); }
  bool StopWork() override { return !Do("StopWork"); }
  void SetOutgoingSignalHandler(OrvWorkFlow::IOutgoingSignalHandler* handler) override {
    TestNode::SetOutgoingSignalHandler(handler);
    if (handler != nullptr) Do("SetOutgoingSignalHandler");
  }
  void Release() override {
    Do("Release");
    TestNode::Release();
  }
  bool Fire(const char* signal_name) { return handler() != nullptr && handler()->Signal(this, signal_name); }

  using ObjectProtocol::GetContentDirectories;

 private:
  // Always true.
  bool Do(const char* operation) {
    if (TheAside()) TheAside()(*this, name_, operation);
    return true;
  }

  std::string name_;
};

}  // namespace orv_test
