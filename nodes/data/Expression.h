// The expressions of ValueComputer.
//
//   expression  = sum [ ("=" | "!=" | "<" | "<=" | ">" | ">=") sum ]
//   sum         = product { ("+" | "-" | "&") product }
//   product     = factor { ("*" | "/" | "%") factor }
//   factor      = "-" factor | number | text | path | "(" expression ")"
//   number      = digits [ "." digits ]
//   text        = "'" characters "'", in which '' is one '
//   path        = an entry of the workflow's dictionary, "/Jobs/Count"; it ends before a character that no path
//                 has: a blank stands before a "-" behind it. A blank stands before a "/" that divides and behind it.
//
// Whole numbers have 64 bits, and others are doubles; a number with a fraction makes the result one. "/" of whole
// numbers is the quotient without its fraction, "%" the remainder, with the sign of the first. "&" puts two texts
// together. Numbers compare by their values, texts byte by byte, yes and no by "=" and "!=" alone; values of two kinds
// do not compare. An entry with a text that is a number counts as that number beside numbers. Overflow, division by
// zero and results that are no numbers are failures.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace OrvWorkFlow::Nodes {

using Value = std::variant<bool, std::int64_t, double, std::string>;

class ExpressionProblem : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Gives what stands at an entry.
using EntryReader = std::function<std::optional<Value>(const std::string& path)>;

// Throws ExpressionProblem, which says where and what is wrong.
Value Evaluate(std::string_view expression, const EntryReader& read_entry);

// "12", "0.5", "yes".
std::string TextOf(const Value& value);

}  // namespace OrvWorkFlow::Nodes
