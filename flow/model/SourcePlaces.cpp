#include "flow/model/SourcePlaces.h"

#include <vector>

namespace OrvWorkFlow::Flow {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kEnd = std::string_view::npos;
// Deeper ones are not looked for: a hostile file could make their paths as long as its square.
constexpr std::size_t kMostLevels = 200;

// Goes through the tags as the dictionary's reader does: a comment ends at two or more "-" and ">", only double quotes
// protect a ">", and an end tag closes what is open, whatever its name.
class TagWalk {
 public:
  explicit TagWalk(std::string_view text) : text_(text) {}

  // The next start tag; false at the end of the root element, or of the text.
  bool Next() {
    if (closes_at_once_) Close();
    closes_at_once_ = false;
    for (;;) {
      const std::size_t open = text_.find('<', at_);
      if (open == kEnd || open + 1 >= text_.size()) return false;
      const char first = text_[open + 1];
      at_ = open + 1;
      if (first == '/') {
        at_ = Behind('>');
        if (at_ == kEnd || !Close()) return false;
      } else if (first == '!' || first == '?') {
        if (!SkipRemark()) return false;
      } else {
        return ReadStartTag(open);
      }
    }
  }

  const std::string& path() const { return path_; }
  std::size_t offset() const { return offset_; }
  bool is_too_deep() const { return lengths_.size() > kMostLevels; }

 private:
  std::size_t Behind(char c) const {
    const std::size_t found = text_.find(c, at_);
    return found == kEnd ? kEnd : found + 1;
  }

  // Before the root a declaration or comment ends at its first ">".
  bool SkipRemark() {
    const std::size_t begin = at_ + 1;
    for (;;) {
      at_ = Behind('>');
      if (at_ == kEnd) return false;
      const bool is_end = at_ - begin >= 3 && text_[at_ - 2] == '-' && text_[at_ - 3] == '-';
      if (is_end || lengths_.empty()) return true;
    }
  }

  bool ReadStartTag(std::size_t open) {
    const std::size_t name_end = text_.find_first_of(" \t\r\n/>", at_);
    if (name_end == kEnd || name_end == at_) return false;
    const std::string_view name = text_.substr(at_, name_end - at_);
    offset_ = open;
    lengths_.push_back(path_.size());
    // The root's name is no part of any path.
    if (lengths_.size() > 1 && !is_too_deep()) path_.append("/").append(name);
    at_ = name_end;
    for (bool quoted = false;; ++at_) {
      if (at_ >= text_.size()) return false;
      const char c = text_[at_];
      if (c == '"') quoted = !quoted;
      if (quoted || c != '>') continue;
      closes_at_once_ = text_[at_ - 1] == '/';
      ++at_;
      return true;
    }
  }

  bool Close() {
    if (lengths_.empty()) return false;
    path_.resize(lengths_.back());
    lengths_.pop_back();
    return !lengths_.empty();
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t offset_ = 0;
  std::string path_;
  std::vector<std::size_t> lengths_;  // of the path before each open element
  bool closes_at_once_ = false;
};

// Counts lines from where it stood last; offsets only grow.
class LineCounter {
 public:
  explicit LineCounter(std::string_view text) : text_(text) {}

  SourcePlace At(std::size_t offset) {
    for (std::size_t end = text_.find('\n', at_); end < offset; end = text_.find('\n', at_)) {
      ++line_;
      at_ = end + 1;
    }
    return {line_, offset - at_ + 1};
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;  // the begin of the line
  std::size_t line_ = 1;
};

}  // namespace

SourcePlaces::SourcePlaces(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) {
    // Editors do not count the mark either.
    text.remove_prefix(3);
  }
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == kEnd || text[first] != '<') return;
  TagWalk tags(text);
  LineCounter lines(text);
  while (tags.Next()) {
    const SourcePlace place = lines.At(tags.offset());
    if (!tags.is_too_deep()) places_.try_emplace(tags.path(), place);
  }
}

SourcePlace SourcePlaces::At(std::string path) const {
  if (places_.empty()) return {};
  for (;;) {
    const auto found = places_.find(path);
    if (found != places_.end()) return found->second;
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return {};
    path.resize(slash);
  }
}

}  // namespace OrvWorkFlow::Flow
