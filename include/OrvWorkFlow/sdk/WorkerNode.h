// The base class for nodes whose work takes longer than a signal: it is done on a thread of the node's own, can be
// stopped at any time, and is continued after a restart.
//
// While it works the node is "Busy". A stop makes Work return; the mediator then records the reboot signal "resume",
// which the workflow gets when it goes on, in this process or a later one. So a node of this kind declares an input
// "resume", answers it with Continue, and has in the workflow's dictionary what Work needs to go on (NodeRecord.h).
//
// What the parameters' texts take from elsewhere, {/Path} and the like, is taken when the work begins, and counts until
// it is done: it is kept at /WorkerNodes/<type>/<instance> in the workflow's dictionary. Variables of the environment
// are not kept there, so that no password gets into a state; they are read again.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "OrvWorkFlow/INodeContinuation.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Sdk {

class WorkerNode : public WorkNodeBase, public INodeContinuation {
 public:
  // "INodeContinuation" too.
  void* QueryInterface(const char* interface_name) override;
  // "resume" while the work is being done.
  const char* GetContinuation() override { return continues_.load() ? "resume" : ""; }
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

  using WorkNodeBase::WorkNodeBase;

  // The work, on the thread of its own. What it throws is shown to the user and ends it. It returns within 50 ms after
  // StopWanted has become true, so it looks at that, or waits in Pause, as often.
  virtual Outcome Work() = 0;
  // Called once for each stop while Work runs, for work that waits in something else than Pause: makes that return.
  // Comes on the thread that stops, and must not wait for the work.
  virtual void InterruptWork() {}

  // For Work: fires the output signal with which the work ends. Should the process die after that the work is not gone
  // on with, and should it die before, it is; so nothing that counts is done between this and the end of Work.
  void FireLast(const char* signal_name);

  // Whether work is being done, on the thread of a signal. Work that has fired its last signal is not: what that causes
  // may come back before its thread has ended, which is waited for.
  bool IsWorking();
  // Begins new work. Throws where a parameter cannot be read. False, with nothing done, while the node works.
  bool BeginAnew();
  // Goes on with work that was stopped. False while the node works.
  bool Continue();

  // For Work: whether it has to return.
  bool StopWanted() const { return stop_; }
  // For Work: waits; false, at once, when it has to return.
  bool Pause(std::chrono::milliseconds time);
  // Ends the pause that is under way, or the next one, as if its time were over. Any thread.
  void Wake();

 private:
  // Those of work that has ended are not for the next.
  bool HoldsValues() override { return IsWorking(); }
  std::string ValuesFolder() const;
  bool Start();
  void Run();

  std::mutex thread_mutex_;  // Guards the thread object; held while a stop waits for the thread.
  std::thread thread_;
  std::atomic<std::thread::id> worker_;  // while it runs
  bool was_stopped_ = false;             // What the thread left; read after it has ended.
  std::atomic<bool> busy_ = false;
  std::atomic<bool> continues_ = false;  // as long as the work has not fired its last signal

  std::mutex stop_mutex_;  // A leaf.
  std::condition_variable stop_changed_;
  bool woken_ = false;
  std::atomic<bool> stop_ = false;
};

}  // namespace OrvWorkFlow::Sdk
