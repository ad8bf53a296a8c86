#include "nodes/files/CsvParser.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace OrvWorkFlow::Nodes {

bool CsvParser::Feed(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [this](char c) { return Take(c); });
}

bool CsvParser::Finish() {
  if (!row_has_begun_) return true;
  if (state_ == State::Quoted) row_.problem = "a quote is not closed";
  return EndRow();
}

bool CsvParser::Take(char c) {
  ++offset_;
  if (c == '\n') ++line_;
  const bool in_quotes = state_ == State::Quoted;
  if (c == '\n' && !in_quotes) {
    if (!row_.text.empty() && row_.text.back() == '\r') {
      row_.text.pop_back();
      if (state_ == State::Plain && !field_.empty()) field_.pop_back();
    }
    return EndRow();
  }
  if (!row_has_begun_) {
    row_has_begun_ = true;
    row_.line = line_ - (c == '\n' ? 1 : 0);
  }
  row_.text += c;
  if (row_.text.size() > kLargestRow) {
    throw std::runtime_error("the row that begins in line " + std::to_string(row_.line) +
                             " is larger than 1 MiB: is a quote not closed?");
  }
  TakeInField(c);
  return true;
}

void CsvParser::TakeInField(char c) {
  switch (state_) {
    case State::FieldStart:
      if (c == '"') {
        state_ = State::Quoted;
      } else if (c == separator_) {
        EndField();
      } else {
        field_ += c;
        state_ = State::Plain;
      }
      return;
    case State::Plain:
      if (c == separator_) {
        EndField();
      } else {
        field_ += c;
      }
      return;
    case State::Quoted:
      if (c == '"') {
        state_ = State::QuoteInQuoted;
      } else {
        field_ += c;
      }
      return;
    case State::QuoteInQuoted:
      if (c == '"') {
        field_ += c;
        state_ = State::Quoted;
      } else if (c == separator_) {
        EndField();
      } else if (c != '\r') {
        row_.problem = "there is text behind a closing quote";
      }
      return;
  }
}

void CsvParser::EndField() {
  row_.fields.push_back(std::exchange(field_, {}));
  state_ = State::FieldStart;
}

bool CsvParser::EndRow() {
  const bool is_empty = row_.text.empty();
  EndField();
  row_.end = offset_;
  row_.lines = line_ - 1;
  const CsvRow row = std::exchange(row_, {});
  row_has_begun_ = false;
  return is_empty || taker_(row);
}

std::string CsvLine(const std::vector<std::string>& fields, char separator) {
  std::string line;
  for (const std::string& field : fields) {
    if (&field != &fields.front()) line += separator;
    const bool needs_quotes = field.find_first_of(std::string("\"\r\n") + separator) != std::string::npos ||
                              (field.empty() && fields.size() == 1);
    if (needs_quotes) line += '"';
    for (const char c : field) {
      if (c == '"') line += c;
      line += c;
    }
    if (needs_quotes) line += '"';
  }
  return line + "\n";
}

char SeparatorOf(const std::string& text) {
  if (text == "tab") return '\t';
  if (text.size() != 1 || text == "\"" || text == "\r" || text == "\n") {
    throw std::runtime_error("\"" + text + "\" is no separator: it is one character, or tab");
  }
  return text.front();
}

}  // namespace OrvWorkFlow::Nodes
