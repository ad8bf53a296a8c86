// Takes another workflow into the running one. The type's name is known to the library: the workflow of an instance of
// it stands above those that it absorbs.
//
//   in   "absorb"
//   out  "absorbed"  behind the start signal of the absorbed workflow
//        "failed"    the user was told why
//
// Parameters: "File", the other workflow's file, a workflow path or a platform path; "Start" (true), whether its start
// signal is queued.
#pragma once

#include "nodes/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class AbsorbWorkflow final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "AbsorbWorkflow";
  AbsorbWorkflow() : WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
