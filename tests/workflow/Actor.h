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
  bool Fire(const char* signal_name) { return handler() != nullptr && handler()->Signal(this, signal_name); }

  using ObjectProtocol::GetContentDirectories;

 private:
  std::string name_;
};

}  // namespace orv_test
