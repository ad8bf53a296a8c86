// Looks at the text of a dictionary file for what is wrong or doubtful in it, and says where.
//
// Apart from the reader, which is quick and says only yes or no: this is for people, once something is wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Core::Dictionary {

struct XmlProblem {
  std::size_t offset = 0;
  std::string what;
};

struct XmlProblems {
  static constexpr std::size_t kMost = 100;

  std::vector<XmlProblem> found;           // the first kMost, in the order of the text
  std::optional<XmlProblem> fatal;         // why ReadXml does not read the text; the last of `found`, if there is room
  std::optional<XmlProblem> cause;         // with `fatal`: what it most likely comes from
  std::optional<XmlProblem> foreign_root;  // ReadXml reads the text, and its root is another
  std::uint32_t remarks = 0;               // comments and instructions
  std::size_t first_remark = 0;            // where the first of them stands
};

// Follows the rules of ReadXml to the letter: `fatal` is empty for the texts that it reads. Linear in the text; throws
// std::bad_alloc.
XmlProblems FindXmlProblems(std::string_view text);

// Both from 1; a line ends with "\n", a column is a byte.
struct TextPosition {
  std::uint32_t line = 1;
  std::uint32_t column = 1;
};
// Finds positions in ascending order, each offset at least the one before.
class PositionFinder {
 public:
  explicit PositionFinder(std::string_view text) : text_(text) {}
  TextPosition At(std::size_t offset);

 private:
  std::string_view text_;
  std::size_t line_begin_ = 0;
  std::size_t at_ = 0;
  std::uint32_t line_ = 1;
};

}  // namespace OrvWorkFlow::Core::Dictionary
