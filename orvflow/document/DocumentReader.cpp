#include <algorithm>

#include "orvflow/document/Document.h"
#include "orvflow/document/EntryText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kEnd = std::string_view::npos;

std::string WithPlainLineEnds(std::string_view text) {
  std::string result(text);
  for (std::size_t at = result.find("\r\n"); at != kEnd; at = result.find("\r\n", at)) result.erase(at, 1);
  return result;
}

class DocumentReader {
 public:
  DocumentReader(std::string_view text, const std::string& shown_name) : text_(text), shown_name_(shown_name) {}

  Document Run() {
    if (text_.find('\0') != kEnd) Fail("a zero byte, which no text has");
    if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
    ReadProlog();
    ReadStartTag(Document::kNone);
    while (!open_.empty()) ReadContent();
    const std::string_view behind = TrimmedText(text_.substr(at_));
    if (!behind.empty()) document_.epilog.push_back(WithPlainLineEnds(behind));
    return std::move(document_);
  }

 private:
  struct Open {
    Document::Id id = 0;
    std::string raw_text;
    std::string attributes;
    bool has_child = false;
    Document::Id last_child = Document::kNone;  // kNone once a comment stands behind it on a line of its own
    Remarks pending;                            // comments that wait for the entry that follows
  };

  [[noreturn]] void Fail(const std::string& what) const {
    const std::size_t line = static_cast<std::size_t>(std::count(text_.begin(), text_.begin() + Distance(), '\n')) + 1;
    throw FileError(ExitCode::DictionaryDamaged, shown_name_, "", "line " + std::to_string(line) + ": " + what);
  }
  std::ptrdiff_t Distance() const { return static_cast<std::ptrdiff_t>(std::min(at_, text_.size())); }

  std::size_t Find(char c, std::size_t from) const {
    const std::size_t found = text_.find(c, from);
    if (found == kEnd) Fail("cut off");
    return found;
  }

  // All but a declaration, which is written anew. What stands there ends at its first ">".
  void ReadProlog() {
    for (;;) {
      const std::size_t tag = Find('<', at_);
      if (tag + 1 >= text_.size()) Fail("cut off");
      const std::string_view junk = TrimmedText(text_.substr(at_, tag - at_));
      if (!junk.empty() && document_.prolog.empty()) document_.prolog.emplace_back();
      if (!junk.empty()) document_.prolog.back().append(WithPlainLineEnds(text_.substr(at_, tag - at_)));
      at_ = tag + 1;
      if (text_[at_] != '?' && text_[at_] != '!') return TrimProlog();
      const std::size_t end = Find('>', at_) + 1;
      const std::string_view remark = text_.substr(tag, end - tag);
      if (!IsDeclaration(remark)) document_.prolog.push_back(WithPlainLineEnds(remark));
      at_ = end;
    }
  }
  static bool IsDeclaration(std::string_view remark) {
    return remark.starts_with("<?xml") && remark.size() > 5 && IsBlankText(remark.substr(5, 1));
  }
  void TrimProlog() {
    for (std::string& remark : document_.prolog) remark = TrimmedText(remark);
  }

  // Of the innermost element: what stands up to the next tag, and that tag.
  void ReadContent() {
    Open& open = open_.back();
    const std::size_t tag = Find('<', at_);
    if (tag + 1 >= text_.size()) Fail("cut off");
    const std::string_view piece = text_.substr(at_, tag - at_);
    open.raw_text += open.has_child ? TrimmedText(piece) : piece;
    const bool is_same_line = piece.find('\n') == kEnd;
    at_ = tag + 1;
    if (text_[at_] == '/') {
      at_ = Find('>', at_) + 1;
      Close();
    } else if (text_[at_] == '!') {
      ReadComment(tag, is_same_line);
    } else {
      open.has_child = true;
      ReadStartTag(open.id);
    }
  }

  // It ends at two or more "-" and ">".
  void ReadComment(std::size_t tag, bool is_same_line) {
    const std::size_t from = at_ + 1;
    std::size_t end = from;
    do {
      end = Find('>', end) + 1;
    } while (end - from < 3 || text_[end - 2] != '-' || text_[end - 3] != '-');
    at_ = end;
    Open& open = open_.back();
    std::string remark = WithPlainLineEnds(text_.substr(tag, end - tag));
    const bool is_behind = open.last_child != Document::kNone && is_same_line && EndsLine(end);
    if (is_behind) {
      document_.at(open.last_child).behind.push_back(std::move(remark));
    } else {
      open.last_child = Document::kNone;
      open.pending.push_back(std::move(remark));
    }
  }
  // Whether nothing but comments and blanks stands between there and the end of the line, or of the element.
  bool EndsLine(std::size_t from) const {
    const std::size_t next = text_.find_first_not_of(" \t\r", from);
    return next == kEnd || text_[next] == '\n' || text_.substr(next, 2) == "</" || text_.substr(next, 2) == "<!";
  }

  // From behind its "<".
  void ReadStartTag(Document::Id parent) {
    const std::size_t tag = at_ - 1;
    const std::size_t name_end = text_.find_first_of(" \t\n\v\f\r/>", at_);
    if (name_end == kEnd || name_end == at_) Fail("a tag without a name");
    const std::string name(text_.substr(at_, name_end - at_));
    Open open;
    open.id = Place(parent, name, tag);
    at_ = name_end;
    bool is_empty = text_[at_] == '/';
    if (is_empty) {
      at_ = Find('>', at_) + 1;
    } else {
      open.attributes = ReadAttributes(is_empty);
    }
    if (open_.size() >= Document::kMostLevels) {
      throw FileError(ExitCode::Failed, shown_name_, "",
                      "nests deeper than " + std::to_string(Document::kMostLevels) + " entries");
    }
    open_.push_back(std::move(open));
    if (is_empty) Close();
  }

  Document::Id Place(Document::Id parent, const std::string& name, std::size_t offset) {
    if (parent == Document::kNone) {
      document_.at(Document::kRoot).name = name;
      document_.at(Document::kRoot).offset = offset;
      return Document::kRoot;
    }
    Document::Id id = document_.Find(parent, name);
    if (id == Document::kNone) {
      id = document_.AddChild(parent, name);
      document_.at(id).offset = offset;
    }
    Remarks& pending = open_.back().pending;
    Remarks& before = document_.at(id).before;
    before.insert(before.end(), pending.begin(), pending.end());
    pending.clear();
    return id;
  }

  // Only double quotes protect a ">".
  std::string ReadAttributes(bool& is_empty) {
    const std::size_t begin = std::min(text_.find_first_not_of(" \t\n\v\f\r", at_), text_.size());
    bool is_quoted = false;
    for (at_ = begin; at_ < text_.size(); ++at_) {
      if (text_[at_] == '"') is_quoted = !is_quoted;
      if (is_quoted) continue;
      is_empty = text_[at_] == '/' && text_.substr(at_ + 1, 1) == ">";
      if (text_[at_] != '>' && !is_empty) continue;
      const std::string_view attributes = text_.substr(begin, at_ - begin);
      at_ += is_empty ? 2 : 1;
      return Unescaped(attributes, TextPlace::Attributes);
    }
    Fail("cut off in a tag");
  }

  void Close() {
    Open open = std::move(open_.back());
    open_.pop_back();
    Document::Element& element = document_.at(open.id);
    element.attributes = std::move(open.attributes);
    element.text = Unescaped(open.raw_text, TextPlace::Value);
    if (element.attributes.empty()) element.text = TrimmedText(element.text);
    element.last.insert(element.last.end(), open.pending.begin(), open.pending.end());
    if (!open_.empty()) open_.back().last_child = open.id;
  }

  std::string_view text_;
  const std::string& shown_name_;
  std::size_t at_ = 0;
  std::vector<Open> open_;
  Document document_;
};

}  // namespace

Document Document::Read(std::string_view text, const std::string& shown_name) {
  return DocumentReader(text, shown_name).Run();
}

}  // namespace OrvWorkFlow::Program
