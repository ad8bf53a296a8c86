#include "dictionary/xml/XmlProblems.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "dictionary/tree/ElementTree.h"
#include "dictionary/tree/EntryPath.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ValueText.h"
#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsNameEnd(char c) { return IsBlank(c) || c == '>' || c == '/'; }

// For messages: names and texts of a damaged file are long or unprintable.
std::string Shown(std::string_view text) {
  constexpr std::size_t kMost = 40;
  std::string shown;
  for (const char c : text.substr(0, kMost)) {
    const bool is_plain = static_cast<unsigned char>(c) >= 0x20 && c != 0x7F;
    shown += is_plain ? c : '?';
  }
  while (!shown.empty() && !Base::IsUtf8(shown)) shown.pop_back();
  return text.size() > kMost ? shown + "..." : shown;
}

bool StartsWithoutCase(std::string_view text, std::string_view lower) {
  if (text.size() < lower.size()) return false;
  return std::equal(lower.begin(), lower.end(), text.begin(),
                    [](char l, char c) { return l == c || (IsLetter(c) && l == (c | 0x20)); });
}

class XmlExaminer {
 public:
  explicit XmlExaminer(std::string_view text) : text_(text) {}

  XmlProblems Run() {
    LookAtBytes();
    if (ReadProlog() && ReadStartTag()) ReadToEnd();
    std::stable_sort(problems_.begin(), problems_.end(),
                     [](const XmlProblem& a, const XmlProblem& b) { return a.offset < b.offset; });
    if (problems_.size() > XmlProblems::kMost) problems_.resize(XmlProblems::kMost);
    if (result_.fatal && problems_.size() < XmlProblems::kMost) problems_.push_back(*result_.fatal);
    result_.found = std::move(problems_);
    if (result_.fatal && !result_.cause) result_.cause = result_.fatal;
    return std::move(result_);
  }

 private:
  struct Open {
    std::string_view name;
    std::size_t offset = 0;
    bool has_child = false;
    std::unordered_set<std::string_view> children;
  };

  // Doubtful; of what makes a file unreadable later the first is its likely cause.
  void Note(std::size_t offset, std::string what, bool is_cause = false) {
    if (problems_.size() < 2 * XmlProblems::kMost) problems_.push_back({offset, what});
    if (is_cause && !result_.cause) result_.cause = XmlProblem{offset, std::move(what)};
  }
  bool WantsNotes() const { return problems_.size() < 2 * XmlProblems::kMost || !result_.cause; }
  bool Die(std::size_t offset, std::string what) {
    result_.fatal = XmlProblem{offset, std::move(what)};
    return false;
  }
  void Remark(std::size_t offset) {
    if (result_.remarks++ == 0) result_.first_remark = offset;
  }
  std::string Line(std::size_t offset) { return std::to_string(PositionFinder(text_).At(offset).line); }
  static std::string Tag(std::string_view name) { return "<" + Shown(name) + ">"; }

  // What can be seen without knowing where tags are.
  void LookAtBytes() {
    const bool is_utf16 = text_.starts_with("\xFF\xFE") || text_.starts_with("\xFE\xFF") ||
                          text_.starts_with(std::string_view("<\0", 2)) ||
                          text_.starts_with(std::string_view("\0<", 2));
    if (is_utf16) return Note(0, "UTF-16; a dictionary is UTF-8, so save it as that", true);
    const std::size_t zero = text_.find('\0');
    if (zero != kNone) Note(zero, "a zero byte, which no text has", true);
    const auto* const control = std::find_if(text_.data(), text_.data() + text_.size(), [](char c) {
      return c != '\0' && static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
    if (control != text_.data() + text_.size()) {
      Note(static_cast<std::size_t>(control - text_.data()), "a control character; a save writes \"?\" in its place");
    }
    const std::size_t valid = Base::Utf8Prefix(text_);
    if (valid < text_.size()) Note(valid, "bytes that are no UTF-8; is it another encoding?");
  }

  // Up to the name of the root.
  bool ReadProlog() {
    const bool has_mark = text_.starts_with("\xEF\xBB\xBF");
    at_ = has_mark ? 3 : 0;
    if (TrimBlanks(text_).empty()) return Die(text_.size(), "empty");
    for (;;) {
      const std::size_t tag = text_.find('<', at_);
      const std::string_view before = text_.substr(at_, tag == kNone ? kNone : tag - at_);
      if (tag == kNone && at_ <= 3) return Die(0, "no XML: there is no tag in it");
      if (tag == kNone) return Die(text_.size(), "cut off: there is no root element");
      if (!TrimBlanks(before).empty()) Note(at_, "text before the root element, which is not read", true);
      at_ = tag + 1;
      if (at_ == text_.size()) return Die(tag, "cut off: there is no root element");
      if (text_[at_] != '?' && text_[at_] != '!') return true;
      const std::size_t end = text_.find('>', at_);
      if (end == kNone) return Die(tag, "cut off: what begins here has no end");
      LookAtInstruction(tag, text_.substr(tag, end + 1 - tag));
      at_ = end + 1;
    }
  }

  // A declaration, an instruction or a comment of the prolog. All end at their first ">".
  void LookAtInstruction(std::size_t offset, std::string_view all) {
    if (StartsWithoutCase(all, "<?xml") && all.size() > 5 && IsBlank(all[5])) return LookAtDeclaration(offset, all);
    Remark(offset);
    if (all.starts_with("<!--") && !all.ends_with("-->")) {
      Note(offset, "a comment before the root element ends at its first \">\"", true);
    } else if (StartsWithoutCase(all, "<!doctype") && all.find('[') != kNone) {
      Note(offset, "a document type declaration ends at its first \">\"", true);
    }
  }

  void LookAtDeclaration(std::size_t offset, std::string_view all) {
    const std::optional<std::string_view> encoding = FindEncoding(all.substr(6));
    if (!encoding) return;
    for (const char* known : {"utf-8", "utf8", "us-ascii", "ascii"}) {
      if (encoding->size() == std::string_view(known).size() && StartsWithoutCase(*encoding, known)) return;
    }
    Note(offset, "the encoding " + Shown(*encoding) + " is not looked at; the bytes are taken for UTF-8");
  }
  static std::optional<std::string_view> FindEncoding(std::string_view attributes) {
    AttributeReader reader(attributes);
    std::string_view found;
    std::string_view value;
    while (reader.Next(found, value)) {
      if (TrimBlanks(found) == "encoding") return value;
    }
    return std::nullopt;
  }

  // From the first character of a name: the start tag, and behind it. Opens the element unless it is an empty one.
  bool ReadStartTag() {
    const std::size_t tag = at_ - 1;
    while (at_ < text_.size() && !IsNameEnd(text_[at_])) ++at_;
    const std::string_view name = text_.substr(tag + 1, at_ - tag - 1);
    if (at_ == text_.size()) return Die(tag, "cut off within a start tag");
    if (name.empty()) return Die(tag, "a tag without a name");
    LookAtName(tag, name);
    bool is_empty = text_[at_] == '/';
    if (is_empty) {
      const std::size_t end = text_.find('>', at_);
      if (end == kNone) return Die(tag, "cut off within the tag " + Tag(name));
      at_ = end + 1;
    } else if (text_[at_] == '>') {
      ++at_;
    } else if (!ReadAttributes(tag, name, is_empty)) {
      return false;
    }
    if (!is_empty) open_.push_back({name, tag, false, {}});
    return true;
  }

  bool ReadAttributes(std::size_t tag, std::string_view name, bool& is_empty) {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
    const std::size_t begin = at_;
    for (; at_ < text_.size(); ++at_) {
      if (text_[at_] == '"') {
        const std::size_t quote = at_;
        at_ = text_.find('"', at_ + 1);
        if (at_ == kNone) return Die(quote, "cut off: this quote in the tag " + Tag(name) + " has no end");
      }
      is_empty = text_[at_] == '/' && at_ + 1 < text_.size() && text_[at_ + 1] == '>';
      if (text_[at_] != '>' && !is_empty) continue;
      LookAtAttributes(begin, text_.substr(begin, at_ - begin));
      at_ += is_empty ? 2 : 1;
      return true;
    }
    return Die(tag, "cut off within the tag " + Tag(name));
  }

  void LookAtAttributes(std::size_t offset, std::string_view all) {
    if (all.find('<') != kNone) Note(offset + all.find('<'), "a \"<\" within a start tag; is a quote missing?", true);
    LookAtReferences(offset, all);
    std::unordered_set<std::string_view> names;
    AttributeReader reader(all);
    std::string_view name;
    std::string_view value;
    while (reader.Next(name, value)) {
      if (!names.insert(name).second) Note(offset, "two attributes " + Shown(name) + "; the first one counts");
      if (!name.empty() && IsBlank(name.back()))
        Note(offset, "a blank before the \"=\" of an attribute is part of its name");
    }
  }

  void LookAtName(std::size_t tag, std::string_view name) {
    if (open_.empty()) {
      if (name != kRootName) {
        const std::string what =
            "the root is " + Tag(name) + ", not <" + std::string(kRootName) + ">; no path leads into it";
        result_.foreign_root = XmlProblem{tag, what};
        Note(tag, what);
      }
      return;
    }
    Open& above = open_.back();
    above.has_child = true;
    if (name.front() == '?') {
      Note(tag, "an instruction within the root is read as an element", true);
    } else if (!IsValidPath(name)) {
      Note(tag, Tag(name) + ": no path names it; that takes letters, digits, _ and -");
    }
    if (!above.children.insert(name).second) {
      Note(tag, "another " + Tag(name) + " in " + Tag(above.name) + "; the two become one, and the later value counts");
    }
  }

  void ReadToEnd() {
    while (!open_.empty()) {
      if (!ReadContent()) return;
    }
    const std::string_view rest = text_.substr(at_);
    std::size_t offset = at_;
    std::string_view unread = SkipBlanks(rest);
    while (unread.starts_with("<!--") || unread.starts_with("<?")) {
      Remark(text_.size() - unread.size());
      const std::string_view end = unread[1] == '!' ? "-->" : "?>";
      const std::size_t behind = unread.find(end);
      if (behind == kNone) break;
      unread = SkipBlanks(unread.substr(behind + end.size()));
    }
    offset = text_.size() - unread.size();
    if (!unread.empty()) Note(offset, "what follows the root's end tag is not read");
  }

  // Up to the next tag, and that tag.
  bool ReadContent() {
    const std::size_t tag = text_.find('<', at_);
    if (tag == kNone || tag + 1 == text_.size()) return DieOpen();
    LookAtReferences(at_, text_.substr(at_, tag - at_));
    at_ = tag + 1;
    if (text_[at_] == '/') return ReadEndTag(tag);
    if (text_[at_] == '!') return ReadComment(tag);
    return ReadStartTag();
  }

  bool DieOpen() {
    const Open& open = open_.back();
    return Die(text_.size(),
               "cut off: " + Tag(open.name) + ", opened in line " + Line(open.offset) + ", has no end tag");
  }

  bool ReadEndTag(std::size_t tag) {
    const std::size_t end = text_.find('>', at_);
    const Open& open = open_.back();
    if (end == kNone) return Die(tag, "cut off within the end tag of " + Tag(open.name));
    const std::string_view name = TrimBlanks(text_.substr(at_ + 1, end - at_ - 1));
    if (name != open.name && WantsNotes()) {
      Note(tag, "the end tag </" + Shown(name) + "> closes " + Tag(open.name) + ", opened in line " + Line(open.offset),
           true);
    }
    at_ = end + 1;
    open_.pop_back();
    return true;
  }

  // Up to two or more "-" followed by ">".
  bool ReadComment(std::size_t tag) {
    const std::string_view all = text_.substr(tag);
    const bool is_data = all.starts_with("<![CDATA[");
    if (is_data) {
      Note(tag, "a CDATA section is not understood; write its text with &lt; and &amp;", true);
    } else {
      Remark(tag);
      if (!all.starts_with("<!--")) Note(tag, "a \"<!\" begins a comment, up to the next \"-->\"", true);
    }
    std::size_t end = text_.find("-->", at_ + 1);
    if (end == kNone)
      return Die(tag, is_data ? "cut off: a CDATA section is taken for a comment, which \"-->\" would end"
                              : "cut off: the comment that begins here has no end");
    at_ = end + 3;
    return true;
  }

  void LookAtReferences(std::size_t offset, std::string_view text) {
    for (std::size_t at = text.find('&'); at != kNone; at = text.find('&', at + 1)) {
      const std::string_view rest = text.substr(at);
      if (IsKnownReference(rest)) continue;
      if (!WantsNotes()) return;
      const std::size_t end = rest.find(';');
      const bool is_reference =
          end != kNone && end > 1 && end <= 12 && rest.substr(0, end).find_first_of(" \t\r\n") == kNone;
      Note(offset + at, is_reference ? Shown(rest.substr(0, end + 1)) + " is left as it stands; it is no reference here"
                                     : "a \"&\" that begins no reference; write it &amp;");
    }
  }
  static bool IsKnownReference(std::string_view rest) {
    for (const char* known : {"&lt;", "&gt;", "&amp;", "&apos;", "&quot;"}) {
      if (rest.starts_with(known)) return true;
    }
    if (!rest.starts_with("&#") || rest.size() < 4 || rest[2] == '0') return false;
    std::size_t digits = 2;
    unsigned number = 0;
    while (digits < rest.size() && digits < 5 && IsDigit(rest[digits])) {
      number = number * 10 + static_cast<unsigned>(rest[digits++] - '0');
    }
    return digits > 2 && digits < rest.size() && rest[digits] == ';' && number >= 1 && number <= 255;
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  std::vector<Open> open_;
  std::vector<XmlProblem> problems_;
  XmlProblems result_;
};

}  // namespace

XmlProblems FindXmlProblems(std::string_view text) { return XmlExaminer(text).Run(); }

TextPosition PositionFinder::At(std::size_t offset) {
  for (;;) {
    const std::size_t end = text_.substr(0, offset).find('\n', at_);
    if (end == kNone) break;
    ++line_;
    line_begin_ = at_ = end + 1;
  }
  at_ = std::max(at_, offset);
  return {line_, static_cast<std::uint32_t>(offset - line_begin_ + 1)};
}

}  // namespace OrvWorkFlow::Core::Dictionary
