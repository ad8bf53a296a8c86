// The printed form of a program; table tests compare it.
#include "regexp/Program.h"

#include <string_view>

namespace OrvWorkFlow::Core::Patterns {

namespace {

template <class Unit>
void AppendUnit(std::string& out, Unit unit) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  if (unit >= 0x20 && unit < 0x7f) {
    if (unit == '"' || unit == '\\' || unit == '\'') out += '\\';
    out += static_cast<char>(unit);
    return;
  }
  out += "\\x";
  for (int shift = sizeof(Unit) == 1 ? 4 : 12; shift >= 0; shift -= 4) {
    out += kDigits[(static_cast<unsigned>(unit) >> shift) & 15U];
  }
}

template <class Unit>
void AppendText(std::string& out, const Unit* text, std::size_t length) {
  out += '"';
  for (std::size_t i = 0; i < length; ++i) AppendUnit(out, text[i]);
  out += '"';
}

std::string NameOf(unsigned opcode) {
  static constexpr std::string_view kNames[] = {"END",    "BOL",  "EOL",     "ANY",     "ANYOF", "ANYBUT",
                                                "BRANCH", "BACK", "EXACTLY", "NOTHING", "STAR",  "PLUS"};
  if (opcode < std::size(kNames)) return std::string(kNames[opcode]);
  if (IsOpen(opcode)) return "OPEN" + std::to_string(opcode - 20);
  if (IsClose(opcode)) return "CLOSE" + std::to_string(opcode - 30);
  return "?" + std::to_string(opcode);
}

bool HasText(Opcode opcode) {
  return opcode == Opcode::kExactly || opcode == Opcode::kAnyOf || opcode == Opcode::kAnyBut;
}

template <class Unit>
void AppendFacts(std::string& out, const Program<Unit>& program) {
  std::string facts;
  if (program.anchored) facts += " anchored";
  if (program.first != 0) {
    facts += " first='";
    AppendUnit(facts, program.first);
    facts += '\'';
  }
  if (program.required_size != 0) {
    facts += " required=";
    AppendText(facts, program.code.data() + program.required, program.required_size);
  }
  if (!facts.empty()) out += " |" + facts;
}

}  // namespace

template <class Unit>
std::size_t Program<Unit>::SizeOf(std::size_t node) const {
  if (!HasText(OpcodeAt(node))) return kNodeHead;
  return kNodeHead + LengthOf(code.data() + node + kNodeHead) + 1;
}

template <class Unit>
std::string ToString(const Program<Unit>& program) {
  std::string out;
  for (std::size_t node = kFirstNode; node < program.code.size(); node += program.SizeOf(node)) {
    if (!out.empty()) out += ' ';
    out += std::to_string(node) + ':' + NameOf(program.code[node]);
    if (program.OffsetAt(node) != 0) out += '>' + std::to_string(program.NextOf(node));
    if (HasText(program.OpcodeAt(node))) {
      AppendText(out, program.code.data() + node + kNodeHead, program.SizeOf(node) - kNodeHead - 1);
    }
  }
  AppendFacts(out, program);
  return out;
}

template struct Program<NarrowUnit>;
template struct Program<WideUnit>;
template std::string ToString(const Program<NarrowUnit>&);
template std::string ToString(const Program<WideUnit>&);

}  // namespace OrvWorkFlow::Core::Patterns
