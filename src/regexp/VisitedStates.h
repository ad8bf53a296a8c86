// The (step, position) states that a search has been in.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "regexp/Plan.h"

namespace OrvWorkFlow::Core::Patterns {

// One bit a state. Only steps where ways part or meet are kept: what lies between two of them is gone through once for
// each state of the first.
template <class Unit>
class VisitedStates {
 public:
  // For positions 0 to `text_length`. The memory is touched as states are visited. Throws std::bad_alloc.
  VisitedStates(const Plan<Unit>& plan, std::size_t text_length) : row_of_(plan.steps.size(), kNoRow) {
    NumberSteps(plan);
    const std::size_t positions = text_length + 1;
    if (rows_ > std::numeric_limits<std::size_t>::max() / positions) throw std::bad_alloc();
    bits_.reset(static_cast<std::uint64_t*>(std::calloc(rows_ * positions / 64 + 1, sizeof(std::uint64_t))));
    if (!bits_) throw std::bad_alloc();
  }

  bool Keeps(std::size_t step) const { return row_of_[step] != kNoRow; }

  // True for the first visit of a state whose step is kept.
  bool Visit(std::size_t step, std::size_t position) {
    const std::size_t index = position * rows_ + row_of_[step];
    std::uint64_t& word = bits_.get()[index / 64];
    const std::uint64_t bit = std::uint64_t{1} << (index % 64);
    if ((word & bit) != 0) return false;
    word |= bit;
    return true;
  }

 private:
  static constexpr std::uint16_t kNoRow = 0xffff;

  void NumberSteps(const Plan<Unit>& plan) {
    std::vector<std::uint8_t> ways_to(plan.steps.size(), 0);
    const auto count = [&ways_to](std::size_t step) { ways_to[step] = ways_to[step] == 0 ? 1 : 2; };
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
      const Step<Unit>& step = plan.steps[i];
      if (step.action == Action::kMatch) continue;
      count(step.next);
      if (step.action == Action::kChoice) count(step.other);
    }
    for (std::size_t i = 0; i < plan.steps.size(); ++i) {
      const Action action = plan.steps[i].action;
      if (action == Action::kChoice || action == Action::kLoop || ways_to[i] > 1) row_of_[i] = rows_++;
    }
  }

  struct Free {
    void operator()(std::uint64_t* bits) const { std::free(bits); }
  };

  std::vector<std::uint16_t> row_of_;
  std::uint16_t rows_ = 0;
  std::unique_ptr<std::uint64_t[], Free> bits_;
};

}  // namespace OrvWorkFlow::Core::Patterns
