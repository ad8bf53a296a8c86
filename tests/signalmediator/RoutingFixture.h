// A mediator with a workflow of three nodes, and the lines that a signal leaves on its road.
#pragma once

#include <string>

#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {

// "CATEGORY: text" as the logger writes it.
inline std::string Firing(const std::string& text) { return "/workflow/signalmediator/FireInputSignal: " + text; }
inline std::string Delivery(const std::string& text) { return "/workflow/signalmediator/Signal: " + text; }

class RoutingTest : public MediatorTest {
 protected:
  RoutingTest() {
    SetText("/WorkFlowEngine/AbsorbTree/node0", "Flow");
    DefineNode("Alpha", "a1");
    DefineNode("Alpha", "a2");
    DefineNode("Beta", "b1");
    mediator_->LoadState(nullptr);
    TakeTrace();
  }
};

}  // namespace orv_test
