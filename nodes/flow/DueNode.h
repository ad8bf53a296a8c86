// The base class for nodes that do something at a later time: the times stand in the node's record and are those of the
// clock on the wall, so that a stop, however long, changes none of them. What was due meanwhile is done at once.
//
// In the record: Waiting, the times in milliseconds since 1970, as a list of texts.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/sdk/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

class DueNode : public Sdk::WorkerNode {
 public:
  // "Busy" while something is to be done later.
  bool GetProperty(const char* property_name, IOrvPString* value) override;

 protected:
  using Sdk::WorkerNode::WorkerNode;
  using Outputs = std::vector<const char*>;  // fired in this order, behind the call

  // An input signal other than "resume", and a time that has come, on the node's own thread; never both at once.
  // Parameters are read in the former only.
  virtual bool OnInput(std::string_view signal, Outputs& outputs) = 0;
  virtual void OnDue(std::int64_t time, Outputs& outputs) = 0;

  // For the two above.
  void Add(std::int64_t time);
  void RemoveAll();
  std::size_t Waiting() const { return due_.size(); }

  // In milliseconds since 1970.
  static std::int64_t Now();

 private:
  bool OnSignal(std::string_view signal) final;
  Outcome Work() final;
  void Load();
  void Store();
  // What is due: removed, and done. False when nothing is; then `wait` is how long it takes until then.
  bool TakeDue(Outputs& outputs, std::chrono::milliseconds& wait);

  std::mutex mutex_;  // Not held while signals are fired.
  std::vector<std::int64_t> due_;
  bool is_loaded_ = false;
  bool is_firing_ = false;
  std::atomic<bool> has_more_ = false;  // something waits or is being fired
};

}  // namespace OrvWorkFlow::Nodes
