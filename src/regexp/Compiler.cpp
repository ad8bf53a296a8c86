// Recursive descent, one function a rule; tested by tests/regexp/ProgramTest.cpp (what is made) and ErrorTest.cpp.
//
// One pass: when the program outgrows its limit, nodes are only counted from there on, so that an error behind it is
// still found, as it would be by a first pass that measures.
#include "regexp/Compiler.h"

#include <algorithm>

namespace OrvWorkFlow::Core::Patterns {

namespace {

using Place = std::size_t;  // Of a node in the code; 0 after an error.

constexpr bool IsSpecial(unsigned unit) {
  switch (unit) {
    case '^':
    case '$':
    case '.':
    case '[':
    case '(':
    case ')':
    case '|':
    case '?':
    case '+':
    case '*':
    case '\\':
      return true;
    default:
      return false;
  }
}

constexpr bool IsRepetition(unsigned unit) { return unit == '*' || unit == '+' || unit == '?'; }

template <class Unit>
class Compiler {
 public:
  Compiler(const Unit* pattern, Program<Unit>& program) : at_(pattern), program_(program), code_(program.code) {}

  PatternError Run() {
    code_.clear();
    program_.anchored = false;
    program_.first = 0;
    program_.required_size = 0;
    Emit(Program<Unit>::kMagic);
    bool has_width = false;
    if (Alternatives(0, has_width) == 0) return error_;
    if (size_ >= kProgramLimit) return PatternError::kTooBig;
    program_.group_count = groups_;
    RecordFacts();
    return PatternError::kNone;
  }

 private:
  // What is known of a piece of the pattern: it cannot match the empty text; it is one node that matches one character.
  struct Traits {
    bool has_width = false;
    bool simple = false;
  };

  Place Fail(PatternError error) {
    error_ = error;
    return 0;
  }

  // --- Emitting. Once the limit is passed, only the size is kept.

  bool Counting() const { return size_ > code_.size(); }

  // Room for `count` units more; null when they do not fit any more.
  Unit* Extend(std::size_t count) {
    const std::size_t begin = size_;
    size_ += count;
    if (size_ > kProgramLimit) return nullptr;
    code_.resize(size_);
    return code_.data() + begin;
  }

  void Emit(Unit unit) {
    if (Unit* place = Extend(1)) *place = unit;
  }

  Place EmitNode(unsigned opcode) {
    const Place node = size_;
    if (Unit* place = Extend(kNodeHead)) {
      place[0] = static_cast<Unit>(opcode);
      place[1] = 0;
      place[2] = 0;
    }
    return node;
  }
  Place EmitNode(Opcode opcode) { return EmitNode(static_cast<unsigned>(opcode)); }

  // Puts a node before the last piece. Links inside of the piece are relative and stay right.
  void InsertNode(Opcode opcode, Place piece) {
    const Place end = size_;
    EmitNode(Opcode::kNothing);
    if (Counting()) return;
    Unit* code = code_.data();
    std::copy_backward(code + piece, code + end, code + size_);
    code[piece] = static_cast<Unit>(opcode);
    code[piece + 1] = 0;
    code[piece + 2] = 0;
  }

  void SetNext(Place node, Place next) {
    if (Counting()) return;
    const std::size_t offset = next > node ? next - node : node - next;
    code_[node + 1] = static_cast<Unit>(offset >> 8);
    code_[node + 2] = static_cast<Unit>(offset & 0xff);
  }

  // Makes `next` follow the last node of the chain that begins at `node`.
  void LinkTail(Place node, Place next) {
    if (Counting()) return;
    while (program_.OffsetAt(node) != 0) node = program_.NextOf(node);
    SetNext(node, next);
  }

  // --- Parsing.

  bool AtEnd() const { return *at_ == 0; }
  bool Takes(unsigned unit) {
    if (*at_ != unit) return false;
    ++at_;
    return true;
  }

  // The alternatives of a group, or of the whole pattern for group 0, with what closes them.
  Place Alternatives(unsigned group, bool& has_width) {
    const Place open = group != 0 ? EmitNode(static_cast<unsigned>(Opcode::kOpen) + group) : 0;
    const Place first = size_;
    Place last = open;
    has_width = true;
    do {
      bool branch_has_width = false;
      const Place branch = Branch(branch_has_width);
      if (branch == 0) return 0;
      if (last != 0) SetNext(last, branch);
      last = branch;
      has_width = has_width && branch_has_width;
    } while (Takes('|'));
    const Place closer = group != 0 ? EmitNode(static_cast<unsigned>(Opcode::kClose) + group) : EmitNode(Opcode::kEnd);
    SetNext(last, closer);
    CloseBranches(first, closer);
    if (group != 0 ? !Takes(')') : !AtEnd()) return Fail(PatternError::kUnmatchedParen);
    return group != 0 ? open : first;
  }

  // The end of each alternative goes on at `closer`.
  void CloseBranches(Place branch, Place closer) {
    if (Counting()) return;
    for (; branch != closer; branch = program_.NextOf(branch)) LinkTail(branch + kNodeHead, closer);
  }

  Place Branch(bool& has_width) {
    const Place branch = EmitNode(Opcode::kBranch);
    Place previous = 0;
    while (!AtEnd() && *at_ != '|' && *at_ != ')') {
      Traits traits;
      const Place piece = Piece(traits);
      if (piece == 0) return 0;
      if (previous != 0) LinkTail(previous, piece);
      previous = piece;
      has_width = has_width || traits.has_width;
    }
    if (previous == 0) EmitNode(Opcode::kNothing);
    return branch;
  }

  // An atom with its repetition sign.
  Place Piece(Traits& traits) {
    const Place atom = Atom(traits);
    if (atom == 0 || !IsRepetition(*at_)) return atom;
    const Unit sign = *at_++;
    if (sign != '?' && !traits.has_width) return Fail(PatternError::kOperandCouldBeEmpty);
    if (sign == '?') {
      Optional(atom);
    } else if (traits.simple) {
      InsertNode(sign == '*' ? Opcode::kStar : Opcode::kPlus, atom);
    } else if (sign == '*') {
      StarOfMany(atom);
    } else {
      PlusOfMany(atom);
    }
    traits.has_width = sign == '+';
    if (IsRepetition(*at_)) return Fail(PatternError::kNestedRepetition);
    return atom;
  }

  // x? is (x|).
  void Optional(Place atom) {
    InsertNode(Opcode::kBranch, atom);
    LinkTail(atom, EmitNode(Opcode::kBranch));
    const Place end = EmitNode(Opcode::kNothing);
    LinkTail(atom, end);
    LinkTail(atom + kNodeHead, end);
  }

  // x* is (xL|), L leading back to the whole.
  void StarOfMany(Place atom) {
    InsertNode(Opcode::kBranch, atom);
    const Place back = EmitNode(Opcode::kBack);
    LinkTail(atom + kNodeHead, back);
    SetNext(back, atom);
    LinkTail(atom, EmitNode(Opcode::kBranch));
    LinkTail(atom, EmitNode(Opcode::kNothing));
  }

  // x+ is x(L|), L leading back to x.
  void PlusOfMany(Place atom) {
    const Place again = EmitNode(Opcode::kBranch);
    LinkTail(atom, again);
    SetNext(EmitNode(Opcode::kBack), atom);
    LinkTail(again, EmitNode(Opcode::kBranch));
    LinkTail(atom, EmitNode(Opcode::kNothing));
  }

  Place Atom(Traits& traits) {
    switch (*at_) {
      case '^':
        ++at_;
        return EmitNode(Opcode::kBol);
      case '$':
        ++at_;
        return EmitNode(Opcode::kEol);
      case '.':
        ++at_;
        traits = {true, true};
        return EmitNode(Opcode::kAny);
      case '[':
        ++at_;
        traits = {true, true};
        return Set();
      case '(':
        ++at_;
        if (groups_ == kMaxGroups) return Fail(PatternError::kTooManyParens);
        ++groups_;
        return Alternatives(groups_, traits.has_width);
      case '*':
      case '+':
      case '?':
        return Fail(PatternError::kFollowsNothing);
      default:
        return Literal(traits);
    }
  }

  // As many ordinary characters as there are, but a repetition sign takes only the last: it is left to the next atom.
  Place Literal(Traits& traits) {
    const Place node = EmitNode(Opcode::kExactly);
    std::size_t count = 0;
    while (!AtEnd()) {
      const Unit* const begin = *at_ == '\\' ? at_ + 1 : at_;
      if (begin == at_ && IsSpecial(*at_)) break;
      if (*begin == 0) {
        if (count == 0) return Fail(PatternError::kTrailingBackslash);
        break;
      }
      if (count != 0 && IsRepetition(begin[1])) break;
      Emit(*begin);
      ++count;
      at_ = begin + 1;
    }
    Emit(0);
    traits = {true, count == 1};
    return node;
  }

  Place Set() {
    const Place node = EmitNode(Takes('^') ? Opcode::kAnyBut : Opcode::kAnyOf);
    if (*at_ == ']' || *at_ == '-') Emit(*at_++);
    while (!AtEnd() && *at_ != ']') {
      if (*at_ == '-' && at_[1] != ']' && at_[1] != 0) {
        const unsigned first = at_[-1];
        const unsigned last = at_[1];
        if (first > last) return Fail(PatternError::kInvalidRange);
        if (Unit* place = Extend(last - first)) {
          for (unsigned unit = first + 1; unit <= last; ++unit) *place++ = static_cast<Unit>(unit);
        }
        at_ += 2;
      } else {
        Emit(*at_++);
      }
    }
    if (!Takes(']')) return Fail(PatternError::kUnmatchedBracket);
    Emit(0);
    return node;
  }

  // --- Facts. Following the links from the only alternative's operand meets what every match goes through.

  void RecordFacts() {
    if (program_.OpcodeAt(program_.NextOf(kFirstNode)) != Opcode::kEnd) return;
    const Place start = kFirstNode + kNodeHead;
    if (program_.OpcodeAt(start) == Opcode::kBol) program_.anchored = true;
    if (program_.OpcodeAt(start) == Opcode::kExactly) program_.first = code_[start + kNodeHead];
    for (Place node = start; node != 0; node = program_.NextOf(node)) {
      if (program_.OpcodeAt(node) != Opcode::kExactly) continue;
      const std::size_t length = LengthOf(code_.data() + node + kNodeHead);
      if (length > program_.required_size) {
        program_.required = node + kNodeHead;
        program_.required_size = length;
      }
    }
  }

  const Unit* at_;
  Program<Unit>& program_;
  SmallBuffer<Unit, 256>& code_;
  std::size_t size_ = 0;  // Of the program, also where it is too big to be kept.
  unsigned groups_ = 0;
  PatternError error_ = PatternError::kNone;
};

}  // namespace

template <class Unit>
PatternError Compile(const Unit* pattern, Program<Unit>& program) {
  if (pattern == nullptr) return PatternError::kNullArgument;
  return Compiler<Unit>(pattern, program).Run();
}

template PatternError Compile(const NarrowUnit*, Program<NarrowUnit>&);
template PatternError Compile(const WideUnit*, Program<WideUnit>&);

}  // namespace OrvWorkFlow::Core::Patterns
