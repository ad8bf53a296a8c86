#include "regexp/Matcher.h"

#include <algorithm>
#include <optional>

#include "regexp/VisitedStates.h"

namespace OrvWorkFlow::Core::Patterns {

namespace {

// What to return to when a way fails. A loop that can give back takes two entries: the nearest and, above it, the
// farthest place where it may still stop.
template <class Unit>
struct Entry {
  enum Kind : std::uint8_t { kStep, kLoop, kNearest, kGroupBegin, kGroupEnd };
  const Unit* position;
  std::uint16_t index;  // Of a step or a group.
  Kind kind;
};

// `kRecords`: whether the positions of the groups are wanted. Without them groups cost nothing.
template <class Unit, bool kRecords>
class Matcher {
 public:
  Matcher(const Program<Unit>& program, const Plan<Unit>& plan, const Unit* begin, const Unit* end,
          std::size_t remember_after)
      : plan_(plan),
        steps_(plan.steps.data()),
        code_(program.code.data()),
        begin_(begin),
        end_(end),
        remember_after_(remember_after) {
    if constexpr (kRecords) {
      group_begin_.fill(nullptr);
      group_end_.fill(nullptr);
    }
  }

  bool Search() {
    if (plan_.required != nullptr && FindLiteral(begin_, end_, plan_.required, plan_.required_size) == nullptr) {
      return false;
    }
    switch (plan_.start) {
      case Start::kOnlyFirst:
        return Attempt(begin_);
      case Start::kText:
        return SearchFromTexts();
      case Start::kSet:
        return SearchFromSet();
      case Start::kEverywhere:
        break;
    }
    for (const Unit* start = begin_;; ++start) {
      if (Attempt(start)) return true;
      start = Redundant(start);
      if (start == end_) return false;
    }
  }

  void Report(SubMatches& positions) const {
    for (std::size_t i = 0; i < group_begin_.size(); ++i) {
      const bool took_part = group_begin_[i] != nullptr && group_end_[i] != nullptr;
      positions.begin[i] = took_part ? static_cast<std::size_t>(group_begin_[i] - begin_) : kNoPosition;
      positions.end[i] = took_part ? static_cast<std::size_t>(group_end_[i] - begin_) : kNoPosition;
    }
  }

 private:
  using StepOf = Step<Unit>;
  using EntryOf = Entry<Unit>;
  enum class Outcome : std::uint8_t { kGoOn, kFailed, kMatched };

  std::size_t IndexOf(const StepOf* step) const { return static_cast<std::size_t>(step - steps_); }
  std::size_t PositionOf(const Unit* at) const { return static_cast<std::size_t>(at - begin_); }

  // --- Where to begin.

  bool SearchFromTexts() {
    const StepOf& text = steps_[plan_.entry];
    const Unit* start = begin_;
    while ((start = FindLiteral(start, end_, code_ + text.text, text.length)) != nullptr) {
      if (Attempt(start)) return true;
      ++start;
    }
    return false;
  }

  bool SearchFromSet() {
    for (const Unit* start = begin_; start != end_; ++start) {
      if (!plan_.first_set.Contains(*start)) continue;
      if (Attempt(start)) return true;
      start = Redundant(start);
      if (start == end_) return false;
    }
    return false;
  }

  // The last place that needs no attempt of its own after the one at `start` failed. A pattern that begins with a loop
  // has then been tried behind every character that the loop takes, so that beginning at one of these reaches nothing
  // new.
  const Unit* Redundant(const Unit* start) const {
    const StepOf& entry = steps_[plan_.entry];
    return entry.action == Action::kLoop ? SpanOf(entry, start) : start;
  }

  // --- One attempt.

  bool Attempt(const Unit* start) {
    stack_.clear();
    start_ = start;
    at_ = start;
    step_ = steps_;
    for (;;) {
      const Outcome outcome = visited_ && !MayEnter() ? Outcome::kFailed : Take(*step_);
      if (outcome == Outcome::kMatched) return true;
      if (outcome == Outcome::kFailed && !Resume()) return false;
    }
  }

  // A loop marks the states that it goes through itself.
  bool MayEnter() {
    const std::size_t index = IndexOf(step_);
    return step_->action == Action::kLoop || !visited_->Keeps(index) || visited_->Visit(index, PositionOf(at_));
  }

  Outcome GoTo(std::uint16_t step) {
    step_ = steps_ + step;
    return Outcome::kGoOn;
  }

  Outcome Take(const StepOf& step) {
    switch (step.action) {
      case Action::kMatch:
        RecordMatch();
        return Outcome::kMatched;
      case Action::kBegin:
        return at_ == begin_ ? GoTo(step.next) : Outcome::kFailed;
      case Action::kFinish:
        return at_ == end_ ? GoTo(step.next) : Outcome::kFailed;
      case Action::kAny:
      case Action::kUnit:
      case Action::kSet:
        if (at_ == end_ || !Accepts(step, step.action, *at_)) return Outcome::kFailed;
        ++at_;
        return GoTo(step.next);
      case Action::kText:
        if (static_cast<std::size_t>(end_ - at_) < step.length || !SameUnits(at_, code_ + step.text, step.length)) {
          return Outcome::kFailed;
        }
        at_ += step.length;
        return GoTo(step.next);
      case Action::kChoice:
        return Choose(step);
      case Action::kLoop:
        return Loop(step);
      case Action::kOpen:
        SetGroup(EntryOf::kGroupBegin, step.group, at_);
        return GoTo(step.next);
      case Action::kClose:
        SetGroup(EntryOf::kGroupEnd, step.group, at_);
        return GoTo(step.next);
    }
    return Outcome::kFailed;
  }

  bool Accepts(const StepOf& step, Action action, Unit unit) const {
    if (action == Action::kAny) return true;
    return action == Action::kUnit ? unit == step.unit : plan_.sets[step.other].Contains(unit);
  }

  bool CannotLead(Unit lead) const { return lead != 0 && (at_ == end_ || *at_ != lead); }

  Outcome Choose(const StepOf& step) {
    ++steps_taken_;
    if (CannotLead(step.next_lead)) return GoTo(step.other);
    if (!CannotLead(step.other_lead)) stack_.push_back({at_, step.other, EntryOf::kStep});
    return GoTo(step.next);
  }

  // --- Loops over one character.

  // Behind the last of the characters from `at` on that the loop takes.
  const Unit* SpanOf(const StepOf& loop, const Unit* at) const {
    switch (loop.repeated) {
      case Action::kAny:
        return end_;
      case Action::kUnit:
        while (at != end_ && *at == loop.unit) ++at;
        return at;
      default: {
        const UnitSet<Unit>& set = plan_.sets[loop.other];
        while (at != end_ && set.Contains(*at)) ++at;
        return at;
      }
    }
  }

  Outcome Loop(const StepOf& loop) {
    const Unit* nearest = at_;
    if (loop.least == 1) {
      if (at_ == end_ || !Accepts(loop, loop.repeated, *at_)) return Outcome::kFailed;
      ++nearest;
    }
    if constexpr (!kRecords) {
      if (steps_[loop.next].action == Action::kMatch) return Outcome::kMatched;
    }
    const Unit* farthest = visited_ ? SpanOfNew(loop, nearest) : SpanOf(loop, nearest);
    if (farthest == nullptr) return Outcome::kFailed;
    steps_taken_ += static_cast<std::size_t>(farthest - nearest);
    return StopLoop(loop, nearest, farthest);
  }

  // The same, but only through places where the loop has not been yet; null when it was at the first already. What can
  // be reached from a place where it was has failed.
  const Unit* SpanOfNew(const StepOf& loop, const Unit* at) {
    const std::size_t index = IndexOf(&loop);
    const Unit* last_new = nullptr;
    while (visited_->Visit(index, PositionOf(at))) {
      last_new = at;
      if (at == end_ || !Accepts(loop, loop.repeated, *at)) break;
      ++at;
    }
    return last_new;
  }

  // Goes on behind the loop, from the farthest place first.
  Outcome StopLoop(const StepOf& loop, const Unit* nearest, const Unit* farthest) {
    const Unit* stop = farthest;
    const Unit* const untouched = loop.least == 0 ? nearest : nullptr;  // Stopping here, the loop took nothing.
    if (loop.next_lead != 0) {
      if (stop == end_ && stop != nearest) --stop;
      while (stop != nearest && *stop != loop.next_lead) --stop;
      if (stop == end_ || *stop != loop.next_lead) return Outcome::kFailed;
    } else if (steps_[loop.next].action == Action::kFinish) {
      if (stop != end_) return Outcome::kFailed;
      nearest = end_;
    }
    if (stop != nearest) {
      stack_.push_back({nearest, 0, EntryOf::kNearest});
      stack_.push_back({stop - 1, static_cast<std::uint16_t>(IndexOf(&loop)), EntryOf::kLoop});
    }
    if (loop.group != 0 && stop != untouched) {
      SetGroup(EntryOf::kGroupBegin, loop.group, stop - 1);
      SetGroup(EntryOf::kGroupEnd, loop.group, stop);
    }
    at_ = stop;
    return GoTo(loop.next);
  }

  // --- Going back.

  // Takes up the way left last; false when there is none.
  bool Resume() {
    if (!visited_ && ++steps_taken_ > remember_after_) visited_.emplace(plan_, PositionOf(end_));
    while (!stack_.empty()) {
      const EntryOf entry = stack_.back();
      stack_.pop_back();
      switch (entry.kind) {
        case EntryOf::kStep:
          at_ = entry.position;
          GoTo(entry.index);
          return true;
        case EntryOf::kLoop: {
          const Unit* nearest = stack_.back().position;
          stack_.pop_back();
          steps_taken_ += 1;
          if (StopLoop(steps_[entry.index], nearest, entry.position) == Outcome::kGoOn) return true;
          break;
        }
        case EntryOf::kGroupBegin:
          group_begin_[entry.index] = entry.position;
          break;
        case EntryOf::kGroupEnd:
          group_end_[entry.index] = entry.position;
          break;
        case EntryOf::kNearest:
          break;
      }
    }
    return false;
  }

  // --- Groups.

  void SetGroup(typename EntryOf::Kind kind, std::uint8_t group, const Unit* at) {
    if constexpr (kRecords) {
      const Unit*& position = kind == EntryOf::kGroupBegin ? group_begin_[group] : group_end_[group];
      stack_.push_back({position, group, kind});
      position = at;
    }
  }

  void RecordMatch() {
    if constexpr (kRecords) {
      group_begin_[0] = start_;
      group_end_[0] = at_;
    }
  }

  const Plan<Unit>& plan_;
  const StepOf* const steps_;
  const Unit* const code_;
  const Unit* const begin_;
  const Unit* const end_;
  const std::size_t remember_after_;
  const Unit* start_ = nullptr;
  const Unit* at_ = nullptr;
  const StepOf* step_ = nullptr;
  std::size_t steps_taken_ = 0;
  std::optional<VisitedStates<Unit>> visited_;
  SmallBuffer<EntryOf, 64> stack_;
  std::array<const Unit*, kMaxGroups + 1> group_begin_;
  std::array<const Unit*, kMaxGroups + 1> group_end_;
};

}  // namespace

template <class Unit>
bool SearchText(const Program<Unit>& program, const Plan<Unit>& plan, const Unit* begin, const Unit* end,
                SubMatches* positions, std::size_t remember_after) {
  if (positions == nullptr) return Matcher<Unit, false>(program, plan, begin, end, remember_after).Search();
  Matcher<Unit, true> matcher(program, plan, begin, end, remember_after);
  if (!matcher.Search()) return false;
  matcher.Report(*positions);
  return true;
}

template bool SearchText(const Program<NarrowUnit>&, const Plan<NarrowUnit>&, const NarrowUnit*, const NarrowUnit*,
                         SubMatches*, std::size_t);
template bool SearchText(const Program<WideUnit>&, const Plan<WideUnit>&, const WideUnit*, const WideUnit*, SubMatches*,
                         std::size_t);

}  // namespace OrvWorkFlow::Core::Patterns
