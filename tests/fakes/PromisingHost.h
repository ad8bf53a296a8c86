// A host whose record is on its way to the disk as long as a test says so. Any thread; lives on the stack of a test, so
// Release does nothing.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/IHostRecord.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

class PromisingHost final : public OrvWorkFlow::Sdk::ObjectProtocol<PromisingHost, OrvWorkFlow::IHostApp>,
                            public OrvWorkFlow::IHostRecord {
 public:
  PromisingHost() : ObjectProtocol("HostApp", "IHostApp") {}

  std::atomic<bool> holds = false;
  std::atomic<int> asked = 0;
  std::vector<std::string> await_themselves;  // "<type> <instance>"; of deliveries

  void* QueryInterface(const char* name) override {
    if (std::string_view(name) == OrvWorkFlow::InterfaceNames::kHostRecord) return static_cast<IHostRecord*>(this);
    return ObjectProtocol::QueryInterface(name);
  }
  bool RunOnGuiThread(OrvWorkFlow::IHostAppGuiThreadCallback*, OrvWorkFlow::InputSignalMessage*) override {
    return false;
  }
  bool AwaitRecord() override {
    ++asked;
    while (holds) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
  }
  std::uint32_t CountSaves() override { return 0; }
  void AwaitsItself(const char* type, const char* instance) override {
    await_themselves.push_back(std::string(type) + " " + instance);
  }
};

}  // namespace orv_test
