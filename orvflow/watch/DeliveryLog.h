// The last deliveries of a run, of each of its nodes, and those that failed last: for a page that is looked at now.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "orvflow/watch/NodeNames.h"

namespace OrvWorkFlow::Program {

// One thread at a time. Needs no memory for a delivery once it is full, but for the text of a failure.
class DeliveryLog {
 public:
  static constexpr std::size_t kMost = 500;
  static constexpr std::size_t kMostOfNode = 20;
  static constexpr std::size_t kMostFailed = 100;
  static constexpr std::size_t kMostText = 500;  // bytes of what a failure says

  struct Past {
    std::uint64_t place = 0;   // in the order of their ends: 1, 2, 3...
    std::uint64_t number = 0;  // of the signal
    NodeNames::End sender;
    NodeNames::End receiver;
    std::chrono::steady_clock::time_point begin;
    std::chrono::steady_clock::duration time{};
    IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted;
    std::string text;  // of a failure
  };

  // Its place is given to it.
  void Add(Past delivery);

  // Those behind a place, the oldest first; of more than `most` the last ones.
  std::vector<Past> After(std::uint64_t place, std::size_t most) const;
  // The oldest first.
  std::vector<Past> OfNode(std::uint32_t node) const;
  std::vector<Past> Failed() const { return {failed_.begin(), failed_.end()}; }

 private:
  // The last `most` of those that were added.
  class Ring {
   public:
    void Add(const Past& delivery, std::size_t most);
    std::vector<Past> InOrder() const;
    std::size_t size() const { return kept_.size(); }

   private:
    std::vector<Past> kept_;
    std::size_t next_ = 0;
  };

  std::uint64_t last_place_ = 0;
  Ring all_;
  std::vector<Ring> nodes_;  // by their numbers
  std::deque<Past> failed_;
};

}  // namespace OrvWorkFlow::Program
