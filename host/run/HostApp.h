// The host application object: a queue of calls that one thread, the GUI thread, performs.
//
//   HostApp* host = HostApp::New();
//   ... register it as "HostApp", load and start a workflow ...
//   host->RunGuiThread();        // on the main thread, until somebody calls Quit()
//   ... stop the workflow on another thread while the queue still runs, see DeliverQueued ...
//   host->Release();
#pragma once

#include <cstdint>
#include <memory>

#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/IHostRecord.h"
#include "OrvWorkFlow/sdk/SharedObject.h"

namespace OrvWorkFlow::Host {

// Any thread, unless an operation says "GUI thread": the one that runs the queue. There is one at a time, and it may
// change while no loop runs. Nothing is delivered inside RunOnGuiThread or PostToGuiThread.
class HostApp final : public Sdk::SharedObject<HostApp, IHostApp>,
                      public IHostRestart,
                      public IHostEnd,
                      public IHostRecord {
 public:
  using Task = void (*)(void* context);
  // True ends the loop.
  using Condition = bool (*)(void* context);
  using NodeTold = void (*)(void* context, const char* type, const char* instance);

  // Called on the GUI thread by every loop, between two calls, at most once an interval and, when nothing is queued,
  // about that often: for a status line, for flags that signal handlers set.
  struct Poll {
    Task function = nullptr;
    void* context = nullptr;
    unsigned milliseconds = 100;
  };

  // Since the object was made; always accepted = delivered + queued.
  struct Counts {
    std::uint64_t accepted = 0;   // by RunOnGuiThread and PostToGuiThread
    std::uint64_t refused = 0;    // null arguments, no memory, or after Close
    std::uint64_t delivered = 0;  // calls that have begun
    std::uint64_t queued = 0;     // now
    std::uint64_t threw = 0;      // tasks that threw; swallowed
  };

  // A new object with one reference, the caller's; null without memory.
  static HostApp* New() noexcept;

  // "IHostApp", "IHostRestart", "IHostEnd" and "IHostRecord".
  void* QueryInterface(const char* interface_name) override;

  bool RunOnGuiThread(IHostAppGuiThreadCallback* callback, InputSignalMessage* message) override;

  // Queues `task(context)` among the deliveries. False, with nothing queued, when `task` is null or after Close: the
  // context is then still the caller's. A task that was queued is performed once.
  bool PostToGuiThread(Task task, void* context) noexcept;

  // Asked, on the caller's thread, for each delivery that RunOnGuiThread is given: true refuses it. The mediator's lock
  // is held meanwhile, so it calls nothing of the library. Before the workflow is loaded.
  void SetRefusal(Condition refuses, void* context) noexcept;

  // Called on the GUI thread before each delivery, which waits for it; no lock is held. Before the workflow is loaded.
  void SetBeforeDelivery(Task function, void* context) noexcept;

  // What AwaitRecord answers, and who is told of AwaitsItself, on the caller's thread; without it that is true, and
  // nobody. Before the workflow is loaded.
  void SetRecord(Condition await_record, NodeTold awaits_itself, void* context) noexcept;
  // The state was saved.
  void NoteSave() noexcept;

  // Before a loop runs, or on the GUI thread.
  void SetPoll(Poll poll) noexcept;

  // GUI thread: performs what is queued, in order, and waits for more, until Quit. What is queued then stays so.
  void RunGuiThread();

  // GUI thread: the same, until `condition` answers true as well. The condition is asked before the first call, after
  // each one, and whenever the loop polls. Loops nest: a call may run one, and so keep deliveries going while it waits.
  // True when the condition ended it, false when Quit did or when `condition` is null.
  bool RunGuiThreadUntil(Condition condition, void* context);

  // GUI thread: performs what is queued now and what that queues, without waiting, Quit or not. The number of calls. As
  // long as other threads queue faster than this one performs it does not return: after Close, or when they have
  // stopped, it does; RunGuiThreadUntil returns in any case.
  std::uint64_t DeliverQueued();

  // Ends all loops that run now, after the call that each performs; with none, the next one ends before its first call.
  void Quit() noexcept;

  // From now on nothing is accepted. What is queued is still performed, at the latest by the last Release, which is
  // made on the GUI thread.
  void Close() noexcept;

  // True on the thread that runs a loop now.
  bool IsGuiThread() const noexcept;

  Counts GetCounts() const noexcept;

  // Whether nodes may ask for a restart; at first they may not.
  void AllowRestart(bool allowed) noexcept;
  // Called on the thread of a node that asks and may. Before the workflow is loaded.
  void SetRestartWish(Task told, void* context) noexcept;
  bool RequestRestart() override;
  // True once a node has asked.
  bool RestartRequested() const noexcept;
  // Rings as a restart that is asked for does.
  bool RequestEnd() override;
  bool EndRequested() const noexcept;

  bool AwaitRecord() override;
  std::uint32_t CountSaves() override;
  void AwaitsItself(const char* type, const char* instance) override;

 private:
  friend class Sdk::ObjectProtocol<HostApp, IHostApp>;
  friend class Sdk::SharedObject<HostApp, IHostApp>;
  struct Call;
  struct State;

  explicit HostApp(std::unique_ptr<State> state);
  ~HostApp();

  bool Queue(const Call& call) noexcept;
  void Perform(const Call& call);
  bool WaitForCall(Call* call);
  void PollWhenDue();

  std::unique_ptr<State> state_;
};

}  // namespace OrvWorkFlow::Host
