// A slow and obvious matcher to compare the real one with: the pattern as a tree, matched by recursion with what is
// still to come as a function. Not for use outside of tests.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orv_test {

class NaivePattern {
 public:
  using Position = std::pair<std::size_t, std::size_t>;
  static constexpr Position kNone{static_cast<std::size_t>(-1), static_cast<std::size_t>(-1)};
  enum class Answer { kNo, kYes, kGaveUp };

  explicit NaivePattern(std::u16string pattern) : pattern_(std::move(pattern)) {
    top_ = ParseAlternatives(0);
    if (error_.empty() && at_ < pattern_.size()) error_ = "unmatched ()";
  }

  // Empty for a good pattern.
  const std::string& error() const { return error_; }

  // Gives up after `limit` steps. On kYes fills `groups`: the match and its nine groups.
  Answer Search(const std::u16string& text, std::array<Position, 10>& groups, std::size_t limit) {
    text_ = &text;
    steps_left_ = limit;
    for (std::size_t start = 0; start <= text.size(); ++start) {
      groups_.fill(kNone);
      std::size_t end = 0;
      const bool found = MatchAlternatives(top_, start, [&end](std::size_t at) {
        end = at;
        return true;
      });
      if (steps_left_ == 0) return Answer::kGaveUp;
      if (found) {
        groups_[0] = {start, end};
        groups = groups_;
        return Answer::kYes;
      }
    }
    return Answer::kNo;
  }

 private:
  struct Node;
  using Sequence = std::vector<Node>;
  using Alternatives = std::vector<Sequence>;
  using Rest = std::function<bool(std::size_t)>;
  struct Node {
    enum Kind { kBegin, kEnd, kOneOf, kGroup } kind = kOneOf;
    std::vector<std::pair<char16_t, char16_t>> ranges;  // kOneOf
    bool negated = false;
    Alternatives alternatives;  // kGroup
    std::size_t group = 0;
    char16_t sign = 0;  // '*', '+', '?' or none.
  };

  bool Failed() const { return !error_.empty(); }
  char16_t Peek() const { return at_ < pattern_.size() ? pattern_[at_] : u'\0'; }
  static bool IsSign(char16_t c) { return c == u'*' || c == u'+' || c == u'?'; }

  static bool MayBeEmpty(const Alternatives& alternatives) {
    for (const Sequence& sequence : alternatives) {
      bool empty = true;
      for (const Node& node : sequence) empty = empty && MayBeEmpty(node);
      if (empty) return true;
    }
    return false;
  }
  static bool MayBeEmpty(const Node& node) {
    if (node.sign == u'*' || node.sign == u'?') return true;
    if (node.kind == Node::kGroup) return MayBeEmpty(node.alternatives);
    return node.kind != Node::kOneOf;
  }

  Alternatives ParseAlternatives(int depth) {
    Alternatives alternatives(1);
    while (!Failed() && at_ < pattern_.size() && Peek() != u')') {
      if (Peek() == u'|') {
        ++at_;
        alternatives.emplace_back();
        continue;
      }
      Node node = ParseAtom(depth);
      if (Failed()) break;
      if (IsSign(Peek())) {
        if (Peek() != u'?' && MayBeEmpty(node)) error_ = "*+ operand could be empty";
        node.sign = pattern_[at_++];
        if (!Failed() && IsSign(Peek())) error_ = "nested *?+";
      }
      alternatives.back().push_back(std::move(node));
    }
    return alternatives;
  }

  Node ParseAtom(int depth) {
    Node node;
    const char16_t c = pattern_[at_++];
    if (IsSign(c)) {
      error_ = "?+* follows nothing";
    } else if (c == u'^' || c == u'$') {
      node.kind = c == u'^' ? Node::kBegin : Node::kEnd;
    } else if (c == u'.') {
      node.negated = true;
    } else if (c == u'[') {
      ParseSet(node);
    } else if (c == u'(') {
      node.kind = Node::kGroup;
      node.group = ++groups_seen_;
      if (node.group > 9) {
        error_ = "too many ()";
        return node;
      }
      node.alternatives = ParseAlternatives(depth + 1);
      if (!Failed() && Peek() != u')') error_ = "unmatched ()";
      ++at_;
    } else if (c == u'\\' && at_ == pattern_.size()) {
      error_ = "trailing \\";
    } else {
      const char16_t literal = c == u'\\' ? pattern_[at_++] : c;
      node.ranges = {{literal, literal}};
    }
    return node;
  }

  void ParseSet(Node& node) {
    if (Peek() == u'^') {
      node.negated = true;
      ++at_;
    }
    const std::size_t first = at_;
    for (; at_ < pattern_.size() && (at_ == first || pattern_[at_] != u']'); ++at_) {
      const char16_t c = pattern_[at_];
      const bool has_range_end = at_ + 1 < pattern_.size() && pattern_[at_ + 1] != u']';
      if (c == u'-' && at_ != first && has_range_end) {
        const char16_t from = pattern_[at_ - 1];
        const char16_t to = pattern_[++at_];
        if (from > to) {
          error_ = "invalid [] range";
          return;
        }
        node.ranges.emplace_back(from, to);
      } else {
        node.ranges.emplace_back(c, c);
      }
    }
    if (at_ == pattern_.size()) error_ = "unmatched []";
    ++at_;
  }

  bool MatchAlternatives(const Alternatives& alternatives, std::size_t at, const Rest& rest) {
    for (const Sequence& sequence : alternatives) {
      if (MatchSequence(sequence, 0, at, rest)) return true;
    }
    return false;
  }

  bool MatchSequence(const Sequence& sequence, std::size_t index, std::size_t at, const Rest& rest) {
    if (steps_left_ == 0 || --steps_left_ == 0) return false;
    if (index == sequence.size()) return rest(at);
    const Node& node = sequence[index];
    const Rest after = [&, index](std::size_t end) { return MatchSequence(sequence, index + 1, end, rest); };
    switch (node.sign) {
      case u'*':
        return MatchMany(node, at, after);
      case u'+':
        return MatchOne(node, at, [&](std::size_t end) { return MatchMany(node, end, after); });
      case u'?':
        return MatchOne(node, at, after) || after(at);
      default:
        return MatchOne(node, at, after);
    }
  }

  bool MatchMany(const Node& node, std::size_t at, const Rest& rest) {
    return MatchOne(node, at, [&](std::size_t end) { return MatchMany(node, end, rest); }) || rest(at);
  }

  bool MatchOne(const Node& node, std::size_t at, const Rest& rest) {
    if (steps_left_ == 0 || --steps_left_ == 0) return false;
    if (node.kind == Node::kBegin) return at == 0 && rest(at);
    if (node.kind == Node::kEnd) return at == text_->size() && rest(at);
    if (node.kind == Node::kOneOf) {
      if (at == text_->size()) return false;
      bool member = false;
      for (const auto& [from, to] : node.ranges) member = member || ((*text_)[at] >= from && (*text_)[at] <= to);
      return member != node.negated && rest(at + 1);
    }
    return MatchAlternatives(node.alternatives, at, [&, at](std::size_t end) {
      const Position before = groups_[node.group];
      groups_[node.group] = {at, end};
      if (rest(end)) return true;
      groups_[node.group] = before;
      return false;
    });
  }

  std::u16string pattern_;
  std::size_t at_ = 0;
  std::size_t groups_seen_ = 0;
  std::string error_;
  Alternatives top_;
  const std::u16string* text_ = nullptr;
  std::size_t steps_left_ = 0;
  std::array<Position, 10> groups_{};
};

}  // namespace orv_test
