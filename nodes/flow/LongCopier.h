// Copies one large file in small steps, on a thread of its own: an example of long work that is stopped and continued.
//
// In the workflow's dictionary: /LongCopies/<instance>/Copied, the number of bytes that are in the target; an int up to
// 2 GiB, from there on a text.
//
// After a run that was cut off the target may be longer than what the saved state knows of. What is right of that
// counts as copied, else it is made anew up to what the state knows of. Files of 4 GiB and more are refused.
#pragma once

#include "OrvWorkFlow/sdk/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

class LongCopier final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "LongCopier";
  static const NodeDescription kDescription;
  LongCopier() : WorkerNode(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

  bool SaveState(const char* path) override;

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  class Copy;

  // False when it has to stop first.
  bool Resume(const Copy& copy, std::uint32_t& copied);
  std::string CopiedEntry() const;
  std::uint32_t Copied() const;
  void SetCopied(std::uint32_t bytes) const;
};

}  // namespace OrvWorkFlow::Nodes
