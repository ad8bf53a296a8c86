#include "dictionary/XmlReader.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dictionary/Bytes.h"
#include "dictionary/Escaping.h"

namespace OrvWorkFlow {
namespace {

class XmlReader {
 public:
  XmlReader(std::string_view text, ElementTree& tree)
      : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()), tree_(tree) {}

  bool Read() {
    if (!SkipProlog() || !ReadStartTag()) return false;
    while (!open_.empty()) {
      if (!ReadContent()) return false;
    }
    return true;
  }

 private:
  // An element whose end tag has not been read. Its text is a piece of the input, or, where it is made of several
  // pieces, the last of joined_.
  struct OpenElement {
    NameTable::Id name = NameTable::kNone;
    ElementId element = kNoElement;  // kNoElement until something in it is complete.
    AttributeTable::Id attributes = AttributeTable::kEmpty;
    std::uint32_t text_begin = 0;
    std::uint32_t text_size = 0;
    bool has_child = false;
    bool is_joined = false;
  };

  // Behind the next occurrence of `c`; null when there is none.
  const char* Behind(char c, const char* from) const {
    if (from == end_) return nullptr;  // Of an empty text there may not even be an address.
    const void* found = std::memchr(from, c, static_cast<std::size_t>(end_ - from));
    return found == nullptr ? nullptr : static_cast<const char*>(found) + 1;
  }

  // Up to the name of the first element: declarations and comments of the prolog end at their first ">".
  bool SkipProlog() {
    for (;;) {
      at_ = Behind('<', at_);
      if (at_ == nullptr || at_ == end_) return false;
      if (*at_ != '?' && *at_ != '!') return true;
      at_ = Behind('>', at_);
      if (at_ == nullptr) return false;
    }
  }

  // Up to the next tag, and that tag.
  bool ReadContent() {
    const char* tag = Behind('<', at_);
    if (tag == nullptr || tag == end_) return false;
    const std::string_view piece(at_, static_cast<std::size_t>(tag - 1 - at_));
    AddText(open_.back().has_child ? TrimBlanks(piece) : piece);
    at_ = tag;
    if (*at_ == '/') return ReadEndTag();
    if (*at_ == '!') return SkipComment();
    open_.back().has_child = true;
    return ReadStartTag();
  }

  bool ReadEndTag() {
    at_ = Behind('>', at_);
    if (at_ == nullptr) return false;
    CloseElement();
    return true;
  }

  // A comment ends at two or more "-" followed by ">".
  bool SkipComment() {
    const char* from = at_ + 1;
    const char* behind = from;
    do {
      behind = Behind('>', behind);
      if (behind == nullptr) return false;
    } while (behind - from < 3 || behind[-2] != '-' || behind[-3] != '-');
    at_ = behind;
    return true;
  }

  // From the first character of the name. Opens an element, and closes it, if it is an empty one.
  bool ReadStartTag() {
    const char* const name = at_;
    while (at_ != end_ && *at_ != '>' && *at_ != '/' && !IsBlank(*at_)) ++at_;
    if (at_ == end_ || at_ == name) return false;
    OpenElement element;
    element.name = tree_.InternName({name, static_cast<std::size_t>(at_ - name)});
    bool is_empty = *at_ == '/';
    if (is_empty) {  // Whatever stands between "/" and ">" is skipped.
      at_ = Behind('>', at_);
      if (at_ == nullptr) return false;
    } else if (*at_ == '>') {
      ++at_;
    } else {
      std::string_view attributes;
      if (!ReadAttributes(attributes, is_empty)) return false;
      element.attributes = InternAttributes(attributes);
    }
    open_.push_back(element);
    if (is_empty) CloseElement();
    return true;
  }

  // Up to the ">" of the start tag; only double quotes protect one.
  bool ReadAttributes(std::string_view& attributes, bool& is_empty) {
    while (at_ != end_ && IsBlank(*at_)) ++at_;
    const char* const begin = at_;
    bool is_quoted = false;
    for (; at_ != end_; ++at_) {
      if (*at_ == '"') is_quoted = !is_quoted;
      if (is_quoted) continue;
      is_empty = *at_ == '/' && at_ + 1 != end_ && at_[1] == '>';
      if (*at_ != '>' && !is_empty) continue;
      attributes = {begin, static_cast<std::size_t>(at_ - begin)};
      at_ += is_empty ? 2 : 1;
      return true;
    }
    return false;
  }

  AttributeTable::Id InternAttributes(std::string_view text) {
    if (text.find('&') == std::string_view::npos) return tree_.InternAttributes(text);
    return tree_.InternAttributes(Unescape(text, UnescapeMode::Attributes));
  }

  void AddText(std::string_view piece) {
    if (piece.empty()) return;
    OpenElement& element = open_.back();
    if (element.is_joined) {
      joined_.back() += piece;
    } else if (element.text_size == 0) {
      element.text_begin = static_cast<std::uint32_t>(piece.data() - begin_);
      element.text_size = static_cast<std::uint32_t>(piece.size());
    } else {
      joined_.emplace_back(begin_ + element.text_begin, element.text_size);
      element.is_joined = true;
      joined_.back() += piece;
    }
  }

  // Puts the innermost element into the tree.
  void CloseElement() {
    EnsureElements();
    const OpenElement& element = open_.back();
    const bool has_attributes = element.attributes != AttributeTable::kEmpty;
    std::string_view text(begin_ + element.text_begin, element.text_size);
    if (element.is_joined) text = joined_.back();
    if (text.find('&') != std::string_view::npos) {
      const std::string plain = Unescape(text, UnescapeMode::Text);
      tree_.SetText(element.element, has_attributes ? std::string_view(plain) : TrimBlanks(plain));
    } else {
      if (!has_attributes) text = TrimBlanks(text);
      if (element.is_joined) {
        tree_.SetText(element.element, text);
      } else {
        tree_.SetTextView(element.element, text);
      }
    }
    tree_.SetAttributes(element.element, element.attributes);
    if (element.is_joined) joined_.pop_back();
    open_.pop_back();
  }

  // Makes the elements of all open ones that are not in the tree.
  void EnsureElements() {
    std::size_t missing = open_.size();
    while (missing > 0 && open_[missing - 1].element == kNoElement) --missing;
    for (; missing < open_.size(); ++missing) {
      OpenElement& element = open_[missing];
      element.element = missing == 0 ? tree_.CreateRoot(tree_.NameText(element.name))
                                     : tree_.EnsureChild(open_[missing - 1].element, element.name);
    }
  }

  const char* const begin_;
  const char* at_;
  const char* const end_;
  ElementTree& tree_;
  std::vector<OpenElement> open_;
  std::vector<std::string> joined_;
};

}  // namespace

bool ReadXml(std::string_view text, ElementTree& tree) { return XmlReader(text, tree).Read(); }

}  // namespace OrvWorkFlow
