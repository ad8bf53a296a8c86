// Runs a program, on a thread of its own.
//
// In the record: Attempt, how many times it was started for this signal; ExitCode, where it has ended by itself; Output
// and Error, the first MostBytes of what it wrote; Bytes, how much it wrote in all; Problem, why it failed, in words.
//
// A save of the state leaves a running program alone. It ends with the run: a workflow that goes on later starts it
// again, and Attempt says so.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/WorkerNode.h"
#include "nodes/process/ChildProgram.h"

namespace OrvWorkFlow::Nodes {

class RunProgram final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "RunProgram";
  static const NodeDescription kDescription;
  RunProgram() : WorkerNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  // What the running program's writing goes to.
  class Writing;
  struct Running;

  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;
  void StartProgram();
  // The output signal once it has ended; null when the work has to return first.
  const char* Attend();
  void LimitTime(Running& running);
  const char* SignalFor(int exit_code);
  void TellUnheard(const char* output);
  std::string PlatformPath(const std::string& path) const;

  std::atomic<bool> is_stop_asked_ = false;
  struct RunningDeleter {
    void operator()(Running* running) const;
  };
  std::unique_ptr<Running, RunningDeleter> running_;  // the worker's, between two of its threads nobody's
};

}  // namespace OrvWorkFlow::Nodes
