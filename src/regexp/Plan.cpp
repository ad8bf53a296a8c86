// Three passes over what is at most 32 KiB: nodes become steps, links become places, loops over one character become
// one step. tests/regexp/PlanTest.cpp shows what comes out; that it changes no result is what DifferentialTest.cpp
// holds.
#include "regexp/Plan.h"

#include <algorithm>

namespace OrvWorkFlow::Core::Patterns {

namespace {

// More links than this without a step between them are in no program of the compiler.
constexpr int kLinkLimit = 64;
// How many steps are looked at for the characters with which a match may begin.
constexpr int kFirstSetLimit = 64;
constexpr std::uint16_t kNoPlace = 0xffff;

template <class Unit>
class PlanBuilder {
 public:
  PlanBuilder(const Program<Unit>& program, Plan<Unit>& plan)
      : program_(program), code_(program.code.data()), size_(program.code.size()), plan_(plan) {}

  PatternError Build() {
    if (size_ == 0 || code_[0] != Program<Unit>::kMagic) return PatternError::kCorruptedProgram;
    place_of_.resize(size_);
    std::fill_n(place_of_.data(), size_, kNoPlace);
    for (std::size_t node = kFirstNode; node < size_ && error_ == PatternError::kNone;) node = AddStep(node);
    ResolveLinks();
    if (error_ != PatternError::kNone) return error_;
    MergeLoops();
    RecordLeads();
    FindStart();
    return PatternError::kNone;
  }

 private:
  using StepOf = Step<Unit>;

  std::size_t Fail(PatternError error) {
    error_ = error;
    return size_;
  }

  static bool IsSimple(Action action) {
    return action == Action::kAny || action == Action::kUnit || action == Action::kSet;
  }

  // --- From nodes to steps. Links are nodes until ResolveLinks.

  StepOf& Add(Action action, std::size_t next_node) {
    plan_.steps.push_back(StepOf{});
    StepOf& step = plan_.steps.back();
    step.action = action;
    step.next = static_cast<std::uint16_t>(next_node);
    return step;
  }

  // Adds what the node stands for, if anything; gives the node behind it in the program.
  std::size_t AddStep(std::size_t node) {
    place_of_[node] = static_cast<std::uint16_t>(plan_.steps.size());
    const unsigned opcode = code_[node];
    const std::size_t next = program_.NextOf(node);
    const std::size_t behind = node + program_.SizeOf(node);
    switch (static_cast<Opcode>(opcode)) {
      case Opcode::kEnd:
        Add(Action::kMatch, node);
        return behind;
      case Opcode::kBol:
        Add(Action::kBegin, next);
        return behind;
      case Opcode::kEol:
        Add(Action::kFinish, next);
        return behind;
      case Opcode::kAny:
      case Opcode::kAnyOf:
      case Opcode::kAnyBut:
      case Opcode::kExactly:
        AddOperand(node, Add(Action::kMatch, next));
        return behind;
      case Opcode::kBranch:
        return AddBranch(node);
      case Opcode::kStar:
      case Opcode::kPlus:
        return AddLoop(node);
      case Opcode::kBack:
      case Opcode::kNothing:
        return behind;
      default:
        if (!IsOpen(opcode) && !IsClose(opcode)) return Fail(PatternError::kMemoryCorruption);
        Add(IsOpen(opcode) ? Action::kOpen : Action::kClose, next).group = static_cast<std::uint8_t>(opcode % 10);
        return behind;
    }
  }

  // Makes `step` match what a node without links of its own does.
  void AddOperand(std::size_t node, StepOf& step) {
    const std::size_t text = node + kNodeHead;
    switch (program_.OpcodeAt(node)) {
      case Opcode::kAny:
        step.action = Action::kAny;
        return;
      case Opcode::kExactly:
        step.text = static_cast<std::uint16_t>(text);
        step.unit = code_[text];
        step.length = static_cast<std::uint16_t>(program_.SizeOf(node) - kNodeHead - 1);
        step.action = step.length == 1 ? Action::kUnit : Action::kText;
        return;
      default:
        step.action = Action::kSet;
        step.other = AddSet();
        FillSet(node, plan_.sets.back());
    }
  }

  std::uint16_t AddSet() {
    plan_.sets.push_back(UnitSet<Unit>{});
    return static_cast<std::uint16_t>(plan_.sets.size() - 1);
  }

  void FillSet(std::size_t node, UnitSet<Unit>& set) {
    for (const Unit* member = code_ + node + kNodeHead; *member != 0; ++member) {
      if (*member < 256) {
        set.AddBit(*member);
      } else {
        set.members = code_ + node + kNodeHead;
      }
    }
    if (program_.OpcodeAt(node) == Opcode::kAnyBut) {
      for (std::uint64_t& bits : set.bits) bits = ~bits;
      set.other_than_members = true;
    }
  }

  std::size_t AddLoop(std::size_t node) {
    StepOf& step = Add(Action::kLoop, program_.NextOf(node));
    const std::size_t operand = node + kNodeHead;
    AddOperand(operand, step);
    step.repeated = step.action;
    step.action = Action::kLoop;
    step.least = program_.OpcodeAt(node) == Opcode::kPlus ? 1 : 0;
    return operand + program_.SizeOf(operand);
  }

  // The last of a row of branches is no step: its operand follows it.
  std::size_t AddBranch(std::size_t node) {
    const std::size_t next = program_.NextOf(node);
    if (next == 0 || next >= size_) return Fail(PatternError::kCorruptedPointers);
    const std::size_t operand = node + kNodeHead;
    if (program_.OpcodeAt(next) != Opcode::kBranch) return operand;
    if (node > unmergeable_) {
      const std::size_t behind = MergeBranches(node);
      if (behind != 0) return behind;
    }
    Add(Action::kChoice, operand).other = static_cast<std::uint16_t>(next);
    return operand;
  }

  // Alternatives that are one character each are a set. Gives what stands behind them, or 0 when they are not.
  std::size_t MergeBranches(std::size_t node) {
    const std::size_t after = program_.NextOf(node + kNodeHead);
    std::size_t behind = 0;
    for (std::size_t branch = node; program_.OpcodeAt(branch) == Opcode::kBranch; branch = program_.NextOf(branch)) {
      const std::size_t operand = branch + kNodeHead;
      if (!IsMergeable(operand) || program_.NextOf(operand) != after) {
        unmergeable_ = branch;
        return 0;
      }
      behind = operand + program_.SizeOf(operand);
    }
    const std::uint16_t index = AddSet();
    for (std::size_t operand = node + kNodeHead; operand < behind; operand += program_.SizeOf(operand) + kNodeHead) {
      UnitSet<Unit> set{};
      FillSet(operand, set);
      UnitSet<Unit>& merged = plan_.sets.back();
      for (int i = 0; i < 4; ++i) merged.bits[i] |= set.bits[i];
    }
    Add(Action::kSet, after).other = index;
    return behind;
  }

  bool IsMergeable(std::size_t operand) const {
    const Opcode opcode = program_.OpcodeAt(operand);
    if (opcode == Opcode::kExactly) {
      const Unit* text = code_ + operand + kNodeHead;
      return text[1] == 0 && text[0] < 256;
    }
    if (sizeof(Unit) == 1) return opcode == Opcode::kAnyOf || opcode == Opcode::kAnyBut;
    if (opcode != Opcode::kAnyOf) return false;
    for (const Unit* member = code_ + operand + kNodeHead; *member != 0; ++member) {
      if (*member >= 256) return false;
    }
    return true;
  }

  // --- From nodes to places.

  void ResolveLinks() {
    for (std::size_t i = 0; i < plan_.steps.size() && error_ == PatternError::kNone; ++i) {
      StepOf& step = plan_.steps[i];
      if (step.action != Action::kMatch) step.next = PlaceOf(step.next);
      if (step.action == Action::kChoice) step.other = PlaceOf(step.other);
    }
  }

  std::uint16_t PlaceOf(std::size_t node) {
    for (int i = 0; i < kLinkLimit && node != 0 && node < size_; ++i) {
      const Opcode opcode = program_.OpcodeAt(node);
      if (opcode == Opcode::kNothing || opcode == Opcode::kBack) {
        node = program_.NextOf(node);
      } else if (opcode == Opcode::kBranch && program_.OpcodeAt(program_.NextOf(node)) != Opcode::kBranch) {
        node += kNodeHead;
      } else if (place_of_[node] < plan_.steps.size()) {
        return place_of_[node];
      } else {
        break;
      }
    }
    error_ = PatternError::kCorruptedPointers;
    return 0;
  }

  // --- Loops of groups and branches over one character: "(a|b)*" is one step like "[ab]*", only that it sets its
  // group.

  void MergeLoops() {
    for (std::size_t i = 0; i < plan_.steps.size(); ++i) {
      const StepOf& choice = plan_.steps[i];
      if (choice.action != Action::kChoice) continue;
      const std::size_t open = choice.next;
      if (plan_.steps[open].action != Action::kOpen) continue;
      const StepOf body = plan_.steps[plan_.steps[open].next];
      if (!IsSimple(body.action)) continue;
      const StepOf& close = plan_.steps[body.next];
      if (close.action != Action::kClose || close.group != plan_.steps[open].group || close.next != i) continue;
      // A plus comes to its choice after the group, a star before it.
      const bool is_plus = open < i;
      StepOf loop = body;
      loop.action = Action::kLoop;
      loop.repeated = body.action;
      loop.least = is_plus ? 1 : 0;
      loop.group = close.group;
      loop.next = choice.other;
      plan_.steps[is_plus ? open : i] = loop;
    }
  }

  // --- Looking ahead.

  // The character with which every match of what begins at step `place` goes on, or 0.
  Unit LeadOf(std::size_t place) const {
    const StepOf* step = &plan_.steps[place];
    while (step->action == Action::kOpen || step->action == Action::kClose) step = &plan_.steps[step->next];
    if (step->action == Action::kUnit || step->action == Action::kText) return step->unit;
    if (step->action == Action::kLoop && step->repeated == Action::kUnit && step->least == 1) return step->unit;
    return 0;
  }

  void RecordLeads() {
    for (std::size_t i = 0; i < plan_.steps.size(); ++i) {
      StepOf& step = plan_.steps[i];
      if (step.action != Action::kChoice && step.action != Action::kLoop) continue;
      step.next_lead = LeadOf(step.next);
      if (step.action == Action::kChoice) step.other_lead = LeadOf(step.other);
    }
  }

  void FindStart() {
    std::uint16_t entry = 0;
    while (plan_.steps[entry].action == Action::kOpen) entry = plan_.steps[entry].next;
    plan_.entry = entry;
    const StepOf& step = plan_.steps[entry];
    plan_.start = StartAt(step);
    if (program_.required_size == 0) return;
    // What the first attempt compares anyway is not searched before.
    const std::size_t compared = step.action == Action::kBegin ? step.next : entry;
    const StepOf& text = plan_.steps[compared];
    const bool is_text = text.action == Action::kText || text.action == Action::kUnit;
    if (is_text && text.text == program_.required) return;
    plan_.required = code_ + program_.required;
    plan_.required_size = program_.required_size;
  }

  Start StartAt(const StepOf& step) {
    if (program_.anchored) return Start::kOnlyFirst;
    // What ".*" does not reach from the first character, it does not reach from a later one.
    if (step.action == Action::kLoop && step.repeated == Action::kAny) return Start::kOnlyFirst;
    if (step.action == Action::kText || step.action == Action::kUnit) return Start::kText;
    plan_.first_set = UnitSet<Unit>{};
    // Wide characters are not told apart here: any may be the first.
    plan_.first_set.other_than_members = true;
    return CollectFirst() ? Start::kSet : Start::kEverywhere;
  }

  // Fills `first_set`; false when a match may be empty, may begin with any character, or this is not found out soon.
  bool CollectFirst() {
    SmallBuffer<std::uint16_t, 2 * kFirstSetLimit> open;
    open.push_back(plan_.entry);
    for (int looked_at = 0; !open.empty(); ++looked_at) {
      if (looked_at == kFirstSetLimit) return false;
      const StepOf& step = plan_.steps[open.back()];
      open.pop_back();
      const Action action = step.action == Action::kLoop ? step.repeated : step.action;
      if (action == Action::kMatch || action == Action::kFinish || action == Action::kAny) return false;
      if (action == Action::kUnit || action == Action::kText) {
        if (step.unit < 256) plan_.first_set.AddBit(step.unit);
      } else if (action == Action::kSet) {
        for (int i = 0; i < 4; ++i) plan_.first_set.bits[i] |= plan_.sets[step.other].bits[i];
      } else {
        open.push_back(step.next);
        if (action == Action::kChoice) open.push_back(step.other);
      }
      if (step.action == Action::kLoop && step.least == 0) open.push_back(step.next);
    }
    return true;
  }

  const Program<Unit>& program_;
  const Unit* const code_;
  const std::size_t size_;
  Plan<Unit>& plan_;
  SmallBuffer<std::uint16_t, 256> place_of_;  // Of each node's step.
  std::size_t unmergeable_ = 0;               // Branches up to this one are known not to be a set.
  PatternError error_ = PatternError::kNone;
};

}  // namespace

template <class Unit>
PatternError MakePlan(const Program<Unit>& program, Plan<Unit>& plan) {
  return PlanBuilder<Unit>(program, plan).Build();
}

template PatternError MakePlan(const Program<NarrowUnit>&, Plan<NarrowUnit>&);
template PatternError MakePlan(const Program<WideUnit>&, Plan<WideUnit>&);

}  // namespace OrvWorkFlow::Core::Patterns
