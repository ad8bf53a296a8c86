// The deliveries of one run of a record, in the order in which they ended: small enough to be kept whole.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "journal/DeliveryHistory.h"
#include "orvflow/page/PageJson.h"
#include "orvflow/watch/NodeNames.h"

namespace OrvWorkFlow::Program {

class RecordIndex {
 public:
  struct Run {
    unsigned number = 0;           // of the record, the first is 1
    std::uint64_t begun = 0;       // nanoseconds since 1970
    std::string flow;              // the workflow's file
    std::optional<int> exit_code;  // where the run has said that it ended
  };
  struct Row {
    std::uint64_t number = 0;
    std::uint64_t cause = 0;
    std::uint64_t begun = 0;  // nanoseconds of the run
    std::uint64_t ended = 0;
    NodeNames::End sender;
    NodeNames::End receiver;
    IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted;
    std::uint32_t text = 0;  // of a failure: its place among all, from 1
  };

  // Of the run with that number, or with 0 of the last one.
  explicit RecordIndex(unsigned wanted_run) : wanted_run_(wanted_run) {}
  RecordIndex(const RecordIndex&) = delete;
  RecordIndex& operator=(const RecordIndex&) = delete;

  // In the order of the record.
  void Take(const Journal::Event& event);

  const std::vector<Run>& runs() const { return runs_; }
  // Null when there is no such run.
  const Run* run() const { return run_ == 0 ? nullptr : &runs_[run_ - 1]; }
  // The first has place 1.
  const std::vector<Row>& rows() const { return rows_; }
  std::optional<std::size_t> PlaceOf(std::uint64_t number) const;
  NodeNames& names() { return names_; }
  // "TYPE INSTANCE.SIGNAL"; "start" or "reboot" where there is none.
  std::string SenderOf(const Row& row) const;
  std::string NameOf(const NodeNames::End& end) const;
  const std::string& TextOf(const Row& row) const { return texts_[row.text]; }

  Json RowAsJson(std::size_t place) const;

 private:
  const unsigned wanted_run_;
  unsigned run_ = 0;
  Journal::DeliveryHistory history_;
  std::vector<Run> runs_;
  std::vector<Row> rows_;
  std::unordered_map<std::uint64_t, std::size_t> places_;
  NodeNames names_;
  std::vector<std::string> texts_ = {""};
};

}  // namespace OrvWorkFlow::Program
