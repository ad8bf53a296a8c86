// Copies one large file in small steps, on a thread of its own: an example of long work that is stopped and continued.
//
//   in   "copy"    begins with the first byte
//        "resume"  goes on after a stop
//   out  "copied"  the copy is whole
//        "failed"  the user was told why
//
// Parameters: "Source" and "Target", workflow paths or platform paths; "StepBytes" (65536); "PauseMilliseconds" (0)
// after each step.
// In the workflow's dictionary: /LongCopies/<instance>/Copied, the number of bytes that are in the target.
//
// After a run that was cut off the target may be longer than what the saved state knows of: it is cut back to that, and
// those bytes are copied once more.
#pragma once

#include "nodes/flow/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

class LongCopier final : public WorkerNode {
 public:
  static constexpr char kTypeName[] = "LongCopier";
  LongCopier() : WorkerNode(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  std::int32_t Copied() const;
  void SetCopied(std::int32_t bytes) const;
  Outcome Fail(const std::string& problem);
};

}  // namespace OrvWorkFlow::Nodes
