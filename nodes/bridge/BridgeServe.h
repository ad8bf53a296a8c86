// The end of a bridge that answers: fires a signal for each request that comes, and sends what the workflow answers.
//
// Below /BridgeServe/<instance>: Id; Request, Signal, Number and Asker of what was told of last, and Values with what
// it carries, each below the path that it has at the asker; Open/<request>, those that have no answer yet, with the
// name of the signal; Told and Taken, the counts of what was fired and of what let the next one come; Epoch and
// Senders, see ReceivingEnd.h; Askers, see AnswerBoxes.h; DeadCount and DeadReason, of answers that an asker could not
// read, which stand in Askers/S<id>/Dead; Halted, of the last asker to whom nothing is sent any more; Connection, why
// nothing comes or can be sent now.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "nodes/bridge/AnswerBoxes.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/ReceivingEnd.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class BridgeServe final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "BridgeServe";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  BridgeServe() : TaskNode(kTypeName, kDescription, kRules) {}
  std::int32_t MostSignalsFired() override { return kAnyNumber; }

 private:
  bool OnSignal(std::string_view signal) override;
  const char* DoTask(const std::string& task) override;
  void ClearRecord() override;

  // Delivery.
  void Reply(Bridge::LetterKind kind);

  // The thread.
  bool Serve(Bridge::Transport& transport, Bridge::ReceivingEnd& requests, Bridge::AnswerSender& answers);
  bool MayDeliver() const;
  bool DeliverNext(Bridge::ReceivingEnd& requests);
  std::string ReasonAgainst(const Bridge::Letter& letter) const;
  void NoteConnection(const Bridge::Transport& transport, bool is_alone);
  Bridge::AnswerSender::Events AnswerEvents();
  std::size_t CountOpen() const;
  bool HasEnded(const Bridge::ReceivingEnd& requests);

  bool has_said_ = false;    // of deliveries: that it awaits the record itself
  Bridge::Promise promise_;  // of the requests that are acknowledged
  Bridge::AnswerBoxes boxes_;
  std::atomic<bool> rebinds_ = false;
  // Of the thread.
  std::int64_t ends_at_ = -1;
  std::int64_t heard_at_ = -1;  // an answer to an answer
};

}  // namespace OrvWorkFlow::Nodes
