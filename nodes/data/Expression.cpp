#include "nodes/data/Expression.h"

#include <charconv>
#include <cmath>
#include <utility>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr int kDeepest = 200;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsOfPath(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' || c == '/';
}

template <class Number>
std::optional<Number> WholeText(std::string_view text) {
  Number number{};
  const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

// A text that is a number as that number, everything else as it is.
Value AsNumber(const Value& value) {
  const auto* const text = std::get_if<std::string>(&value);
  if (text == nullptr) return value;
  if (const auto whole = WholeText<std::int64_t>(*text)) return *whole;
  if (const auto fraction = WholeText<double>(*text); fraction && std::isfinite(*fraction)) return *fraction;
  return value;
}

bool IsNumber(const Value& value) {
  return std::holds_alternative<std::int64_t>(value) || std::holds_alternative<double>(value);
}

double AsDouble(const Value& value) {
  const auto* const whole = std::get_if<std::int64_t>(&value);
  return whole != nullptr ? static_cast<double>(*whole) : std::get<double>(value);
}

std::string Described(const Value& value) {
  return std::holds_alternative<std::string>(value) ? "'" + TextOf(value) + "'" : TextOf(value);
}

Value Finite(double number, const std::string& what) {
  if (!std::isfinite(number)) throw ExpressionProblem(what + " overflows");
  return number;
}

Value Whole(std::int64_t left, char operation, std::int64_t right, const std::string& what) {
  std::int64_t result = 0;
  bool overflows = false;
  switch (operation) {
    case '+':
      overflows = __builtin_add_overflow(left, right, &result);
      break;
    case '-':
      overflows = __builtin_sub_overflow(left, right, &result);
      break;
    case '*':
      overflows = __builtin_mul_overflow(left, right, &result);
      break;
    default:
      if (right == 0) throw ExpressionProblem(what + " divides by zero");
      overflows = operation == '/' && right == -1 && __builtin_sub_overflow(std::int64_t{0}, left, &result);
      if (right != -1) result = operation == '/' ? left / right : left % right;
      if (right == -1 && operation == '%') result = 0;
  }
  if (overflows) throw ExpressionProblem(what + " overflows");
  return result;
}

Value Calculated(const Value& first, char operation, const Value& second) {
  const Value left = AsNumber(first);
  const Value right = AsNumber(second);
  const std::string what = Described(first) + " " + operation + " " + Described(second);
  if (!IsNumber(left) || !IsNumber(right)) throw ExpressionProblem(what + " has something that is no number");
  const auto* const whole_left = std::get_if<std::int64_t>(&left);
  const auto* const whole_right = std::get_if<std::int64_t>(&right);
  if (whole_left != nullptr && whole_right != nullptr) return Whole(*whole_left, operation, *whole_right, what);
  const double a = AsDouble(left);
  const double b = AsDouble(right);
  switch (operation) {
    case '+':
      return Finite(a + b, what);
    case '-':
      return Finite(a - b, what);
    case '*':
      return Finite(a * b, what);
    default:
      if (b == 0) throw ExpressionProblem(what + " divides by zero");
      return Finite(operation == '/' ? a / b : std::fmod(a, b), what);
  }
}

template <class Operand>
bool Holds(const Operand& left, std::string_view operation, const Operand& right) {
  if (operation == "=") return left == right;
  if (operation == "!=") return left != right;
  if (operation == "<") return left < right;
  if (operation == "<=") return left <= right;
  if (operation == ">") return left > right;
  return left >= right;
}

bool Compared(const Value& first, std::string_view operation, const Value& second) {
  const bool with_number = IsNumber(first) || IsNumber(second);
  const Value left = with_number ? AsNumber(first) : first;
  const Value right = with_number ? AsNumber(second) : second;
  if (IsNumber(left) && IsNumber(right)) {
    const auto* const whole_left = std::get_if<std::int64_t>(&left);
    const auto* const whole_right = std::get_if<std::int64_t>(&right);
    if (whole_left != nullptr && whole_right != nullptr) return Holds(*whole_left, operation, *whole_right);
    return Holds(AsDouble(left), operation, AsDouble(right));
  }
  const bool has_order = operation != "=" && operation != "!=";
  if (left.index() != right.index() || (std::holds_alternative<bool>(left) && has_order)) {
    throw ExpressionProblem(Described(first) + " " + std::string(operation) + " " + Described(second) +
                            " compares what does not compare");
  }
  if (const auto* const text = std::get_if<std::string>(&left)) {
    return Holds(*text, operation, std::get<std::string>(right));
  }
  return Holds(std::get<bool>(left), operation, std::get<bool>(right));
}

class Parser {
 public:
  Parser(std::string_view text, const EntryReader& read_entry) : text_(text), read_entry_(read_entry) {}

  Value All() {
    Value value = Expression();
    SkipBlanks();
    if (at_ != text_.size()) Fail("something that does not belong there");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw ExpressionProblem("the expression has " + what + " at character " + std::to_string(at_ + 1));
  }
  void SkipBlanks() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\n')) ++at_;
  }
  char Next() {
    SkipBlanks();
    return at_ < text_.size() ? text_[at_] : '\0';
  }

  Value Expression() {
    if (++depth_ > kDeepest) Fail("too many levels");
    Value left = Sum();
    Next();
    for (const std::string_view operation : {"!=", "<=", ">=", "=", "<", ">"}) {
      if (!text_.substr(at_).starts_with(operation)) continue;
      at_ += operation.size();
      left = Compared(left, operation, Sum());
      break;
    }
    --depth_;
    return left;
  }

  Value Sum() {
    Value left = Product();
    for (char operation = Next(); operation == '+' || operation == '-' || operation == '&'; operation = Next()) {
      ++at_;
      const Value right = Product();
      if (operation == '&') {
        left = TextOf(left) + TextOf(right);
      } else {
        left = Calculated(left, operation, right);
      }
    }
    return left;
  }

  Value Product() {
    Value left = Factor();
    for (char operation = Next(); operation == '*' || operation == '/' || operation == '%'; operation = Next()) {
      ++at_;
      left = Calculated(left, operation, Factor());
    }
    return left;
  }

  Value Factor() {
    const char c = Next();
    if (c == '-') {
      if (++depth_ > kDeepest) Fail("too many levels");
      ++at_;
      const Value value = Calculated(std::int64_t{0}, '-', Factor());
      --depth_;
      return value;
    }
    if (c == '(') {
      ++at_;
      Value value = Expression();
      if (Next() != ')') Fail("no ) where one has to be");
      ++at_;
      return value;
    }
    if (c == '\'') return Text();
    if (c == '/') return Entry();
    if (IsDigit(c)) return Number();
    Fail(c == '\0' ? "no value" : "no number, text or path");
  }

  Value Text() {
    std::string text;
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] == '\'') {
        ++at_;
        if (at_ == text_.size() || text_[at_] != '\'') return text;
      }
      text += text_[at_];
    }
    Fail("a text without its end");
  }

  Value Entry() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsOfPath(text_[at_])) ++at_;
    const std::string path(text_.substr(begin, at_ - begin));
    if (path == "/") Fail("a / with nothing before it");
    std::optional<Value> value = read_entry_(path);
    if (!value) throw ExpressionProblem("there is no value at " + path);
    return std::move(*value);
  }

  Value Number() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsDigit(text_[at_])) ++at_;
    const bool has_fraction = at_ + 1 < text_.size() && text_[at_] == '.' && IsDigit(text_[at_ + 1]);
    if (has_fraction) {
      ++at_;
      while (at_ < text_.size() && IsDigit(text_[at_])) ++at_;
    }
    const std::string_view digits = text_.substr(begin, at_ - begin);
    if (has_fraction) return *WholeText<double>(digits);
    const auto whole = WholeText<std::int64_t>(digits);
    if (!whole) Fail("a number that is too large");
    return *whole;
  }

  std::string_view text_;
  const EntryReader& read_entry_;
  std::size_t at_ = 0;
  int depth_ = 0;
};

}  // namespace

Value Evaluate(std::string_view expression, const EntryReader& read_entry) {
  return Parser(expression, read_entry).All();
}

std::string TextOf(const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) return *text;
  if (const auto* const yes = std::get_if<bool>(&value)) return *yes ? "yes" : "no";
  char digits[64];
  const std::to_chars_result result =
      std::holds_alternative<double>(value)
          ? std::to_chars(digits, digits + sizeof(digits), std::get<double>(value))
          : std::to_chars(digits, digits + sizeof(digits), std::get<std::int64_t>(value));
  return std::string(digits, result.ptr);
}

}  // namespace OrvWorkFlow::Nodes
