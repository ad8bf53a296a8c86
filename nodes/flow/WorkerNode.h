// The base class for nodes whose work takes longer than a signal: it is done on a thread of the node's own, can be
// stopped at any time, and is continued after a restart.
//
// While it works the node is "Busy". A stop makes Work return; the mediator then records the reboot signal "resume",
// which the workflow gets when it goes on, in this process or a later one. So what Work needs to continue must be in
// the workflow's dictionary when it returns.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class WorkerNode : public Sdk::WorkNodeBase {
 public:
  // Waits until Work has returned. True when it was stopped before its end.
  bool StopWork() override;
  // "resume".
  bool GetRebootSignal(IOrvPString* signal_name) override;
  bool GetProperty(const char* property_name, IOrvPString* value) override;
  // Stops the work first: it uses the whole object.
  void Release() override;

 protected:
  enum class Outcome {
    Done,     // the output signal that says so was fired
    Stopped,  // StopWanted said so
  };

  using Sdk::WorkNodeBase::WorkNodeBase;

  // The work, on the thread of its own. What it throws is shown to the user and ends it.
  virtual Outcome Work() = 0;

  // Starts the work. False while it is being done.
  bool Begin();

  // For Work: whether it has to return.
  bool StopWanted() const { return stop_; }
  // For Work: waits; false, at once, when it has to return.
  bool Pause(std::chrono::milliseconds time);

 private:
  void Run();

  std::mutex thread_mutex_;  // Guards the thread object; held while a stop waits for the thread.
  std::thread thread_;
  bool was_stopped_ = false;  // What the thread left; read after it has ended.
  std::atomic<bool> busy_ = false;

  std::mutex stop_mutex_;  // A leaf.
  std::condition_variable stop_changed_;
  std::atomic<bool> stop_ = false;
};

}  // namespace OrvWorkFlow::Nodes
