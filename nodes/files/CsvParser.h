// Comma-separated values as RFC 4180 has them, in pieces: a field may stand in quotes, in which two quotes are one, and
// line ends and separators are text. Lines end with LF or CRLF; empty ones are no rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Nodes {

struct CsvRow {
  std::vector<std::string> fields;
  std::string problem;      // why it is none; empty: nothing
  std::string text;         // as it stands in the file, without its line end
  std::uint64_t line = 0;   // in which it begins, from 1
  std::uint64_t end = 0;    // how many bytes of the file come before the next one
  std::uint64_t lines = 0;  // and how many line ends
};

class CsvParser {
 public:
  static constexpr std::size_t kLargestRow = std::size_t{1} << 20;

  // What takes a row answers false to stop: Feed then returns at once. A row larger than kLargestRow throws
  // std::runtime_error: that is a quote that nobody closes.
  using Taker = std::function<bool(const CsvRow& row)>;
  CsvParser(char separator, Taker taker) : separator_(separator), taker_(std::move(taker)) {}

  // What is fed stands behind so many bytes and line ends of the file, at the beginning of a row.
  void StartBehind(std::uint64_t bytes, std::uint64_t lines) {
    offset_ = bytes;
    line_ = lines + 1;
  }

  // False when the taker stopped it.
  bool Feed(std::string_view bytes);
  // The last row needs no line end.
  bool Finish();

 private:
  enum class State { FieldStart, Plain, Quoted, QuoteInQuoted };

  bool Take(char c);
  void TakeInField(char c);
  void EndField();
  bool EndRow();

  const char separator_;
  const Taker taker_;
  State state_ = State::FieldStart;
  CsvRow row_;
  std::string field_;
  std::uint64_t line_ = 1;
  std::uint64_t offset_ = 0;
  bool row_has_begun_ = false;
};

// The fields as a row with its line end.
std::string CsvLine(const std::vector<std::string>& fields, char separator);

// The separator that a parameter names: one character, or "tab". Throws std::runtime_error for anything else.
char SeparatorOf(const std::string& text);

}  // namespace OrvWorkFlow::Nodes
