// A mediator that reports one node as at work, as long as a test says so. Any thread; lives on the stack of a test, so
// Release does nothing.
#pragma once

#include <atomic>
#include <string>
#include <utility>

#include "OrvWorkFlow/IRunReport.h"
#include "tests/fakes/RefusingMediator.h"

namespace orv_test {

class BusyMediator final : public RefusingMediator<BusyMediator> {
 public:
  BusyMediator(std::string type, std::string instance) : type_(std::move(type)), instance_(std::move(instance)) {}

  std::atomic<bool> is_at_work = false;
  std::atomic<int> asked = 0;

  bool Report(OrvWorkFlow::IRunReport* report) override {
    ++asked;
    if (!is_at_work) return true;
    OrvWorkFlow::IRunReport::Work work;
    work.delivery.receiver.type = type_.c_str();
    work.delivery.receiver.instance = instance_.c_str();
    report->NodeAtWork(work);
    return true;
  }

 private:
  const std::string type_, instance_;
};

}  // namespace orv_test
