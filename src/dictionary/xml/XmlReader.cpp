#include "dictionary/xml/XmlReader.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dictionary/xml/ByteScan.h"
#include "dictionary/xml/Escaping.h"
#include "dictionary/xml/TagMemory.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

using NameEnd = EitherSet<EitherSet<OneByte<'>'>, OneByte<'/'>>, Blanks>;
using AttributesEnd = EitherSet<EitherSet<OneByte<'>'>, OneByte<'/'>>, OneByte<'"'>>;
using TextMark = EitherSet<OneByte<'<'>, OneByte<'&'>>;

class XmlReader {
 public:
  XmlReader(std::string_view text, ElementTree& tree)
      : begin_(text.data()), at_(text.data()), end_(text.data() + text.size()), tree_(tree) {}

  bool Read() {
    if (!SkipProlog() || !ReadElement()) return false;
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
    AttributeTable::Id attributes = AttributeTable::kEmpty;
    ElementId element = kNoElement;  // kNoElement until something in it is complete.
    std::uint32_t text_begin = 0;
    std::uint32_t text_size = 0;
    TagMemory::Place tag = 0;
    TagMemory::Place last_child = 0;
    bool has_child = false;
    bool is_joined = false;
  };

  // Behind the next occurrence of `c`; null when there is none.
  template <char c>
  const char* Behind(const char* from) const {
    const char* found = FindFirst<OneByte<c>>(from, end_);
    return found == end_ ? nullptr : found + 1;
  }

  // Up to the name of the first element: declarations and comments of the prolog end at their first ">".
  bool SkipProlog() {
    for (;;) {
      at_ = Behind<'<'>(at_);
      if (at_ == nullptr || at_ == end_) return false;
      if (*at_ != '?' && *at_ != '!') return true;
      at_ = Behind<'>'>(at_);
      if (at_ == nullptr) return false;
    }
  }

  // Behind a child or a comment: up to the next tag, and that tag.
  bool ReadContent() {
    const char* const begin = at_;
    if (open_.back().has_child) at_ = FindFirst<AllBut<Blanks>>(at_, end_);
    const char* const tag = Behind<'<'>(at_);
    if (tag == nullptr || tag == end_) return false;
    if (tag - 1 != at_ || !open_.back().has_child) {
      const std::string_view piece(begin, static_cast<std::size_t>(tag - 1 - begin));
      AddText(open_.back().has_child ? TrimBlanks(piece) : piece);
    }
    at_ = tag;
    return ReadTag();
  }

  // From behind the "<" of a tag in the innermost open element.
  bool ReadTag() {
    if (*at_ == '/') {
      at_ = Behind<'>'>(at_);
      if (at_ == nullptr) return false;
      CloseElement();
      return true;
    }
    if (*at_ == '!') return SkipComment();
    open_.back().has_child = true;
    return ReadElement();
  }

  // A comment ends at two or more "-" followed by ">".
  bool SkipComment() {
    const char* from = at_ + 1;
    const char* behind = from;
    do {
      behind = Behind<'>'>(behind);
      if (behind == nullptr) return false;
    } while (behind - from < 3 || behind[-2] != '-' || behind[-3] != '-');
    at_ = behind;
    return true;
  }

  // From the first character of the name: an element that holds nothing but text as a whole; of others the start tag
  // and the text up to the next tag.
  bool ReadElement() {
    TagMemory::Place place = 0;
    if (!ReadStartTag(place)) return false;
    const StartTag tag = tags_[place];
    if (tag.is_empty) {
      AddElement(tag, {}, false);
      return true;
    }
    const char* const text = at_;
    const char* mark = FindFirst<TextMark>(at_, end_);
    const bool has_reference = mark != end_ && *mark == '&';
    if (has_reference) mark = FindFirst<OneByte<'<'>>(mark, end_);
    if (end_ - mark < 2) return false;
    at_ = mark;
    const std::string_view piece(text, static_cast<std::size_t>(mark - text));
    if (mark[1] == '/') {
      const char* const behind = Behind<'>'>(mark);
      if (behind == nullptr) return false;
      at_ = behind;
      AddElement(tag, piece, has_reference);
      return true;
    }
    OpenElement& element = open_.emplace_back();
    element.name = tag.name;
    element.attributes = tag.attributes;
    element.tag = place;
    element.last_child = kNoTag;
    element.text_begin = static_cast<std::uint32_t>(text - begin_);
    element.text_size = static_cast<std::uint32_t>(piece.size());
    return true;
  }

  // Finds the tag where the last one of its kind stood, or reads it.
  bool ReadStartTag(TagMemory::Place& place) {
    TagMemory::Place* guess = &root_tag_;
    if (!open_.empty()) {
      OpenElement& above = open_.back();
      guess = above.last_child == kNoTag ? &tags_[above.tag].first_child : &tags_[above.last_child].next_sibling;
    }
    place = *guess;
    if (tags_.IsNext(place, at_, end_)) {
      at_ += tags_[place].size;
    } else {
      StartTag tag;
      if (!ReadUnknownTag(tag)) return false;
      place = *guess = tags_.Remember(tag);
    }
    if (!open_.empty()) open_.back().last_child = place;
    return true;
  }

  bool ReadUnknownTag(StartTag& tag) {
    tag.bytes = at_;
    at_ = FindFirst<NameEnd>(at_, end_);
    if (at_ == end_ || at_ == tag.bytes) return false;
    tag.name = tree_.InternName({tag.bytes, static_cast<std::size_t>(at_ - tag.bytes)});
    tag.is_empty = *at_ == '/';
    if (tag.is_empty) {  // Whatever stands between "/" and ">" is skipped.
      at_ = Behind<'>'>(at_);
      if (at_ == nullptr) return false;
    } else if (*at_ == '>') {
      ++at_;
    } else {
      std::string_view attributes;
      if (!ReadAttributes(attributes, tag.is_empty)) return false;
      tag.attributes = InternAttributes(attributes);
    }
    tag.size = static_cast<std::uint32_t>(at_ - tag.bytes);
    return true;
  }

  // Up to the ">" of the start tag; only double quotes protect one.
  bool ReadAttributes(std::string_view& attributes, bool& is_empty) {
    at_ = FindFirst<AllBut<Blanks>>(at_, end_);
    const char* const begin = at_;
    for (;; ++at_) {
      at_ = FindFirst<AttributesEnd>(at_, end_);
      if (at_ != end_ && *at_ == '"') at_ = FindFirst<OneByte<'"'>>(at_ + 1, end_);
      if (at_ == end_) return false;
      is_empty = *at_ == '/' && at_ + 1 != end_ && at_[1] == '>';
      if (*at_ != '>' && !is_empty) continue;
      attributes = {begin, static_cast<std::size_t>(at_ - begin)};
      at_ += is_empty ? 2 : 1;
      return true;
    }
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

  // An element that is complete and has no children.
  void AddElement(const StartTag& tag, std::string_view text, bool has_reference) {
    EnsureElements();
    const ElementId element = MakeElement(tag.name);
    SetContent(element, tag.attributes, text, has_reference, false);
  }

  // Puts the innermost element into the tree.
  void CloseElement() {
    EnsureElements();
    const OpenElement& element = open_.back();
    std::string_view text(begin_ + element.text_begin, element.text_size);
    if (element.is_joined) text = joined_.back();
    SetContent(element.element, element.attributes, text, text.find('&') != std::string_view::npos, element.is_joined);
    if (element.is_joined) joined_.pop_back();
    open_.pop_back();
  }

  void SetContent(ElementId element, AttributeTable::Id attributes, std::string_view text, bool has_reference,
                  bool is_joined) {
    const bool is_exact = attributes != AttributeTable::kEmpty;
    if (has_reference) {
      const std::string plain = Unescape(text, UnescapeMode::Text);
      tree_.SetText(element, is_exact ? std::string_view(plain) : TrimBlanks(plain));
    } else {
      if (!is_exact) text = TrimBlanks(text);
      if (is_joined) {
        tree_.SetText(element, text);
      } else {
        tree_.SetTextView(element, text);
      }
    }
    tree_.SetAttributes(element, attributes);
  }

  // Makes the elements of all open ones that are not in the tree.
  void EnsureElements() {
    std::size_t missing = open_.size();
    while (missing > 0 && open_[missing - 1].element == kNoElement) --missing;
    for (; missing < open_.size(); ++missing) {
      OpenElement& element = open_[missing];
      element.element = MakeElementIn(missing == 0 ? kNoElement : open_[missing - 1].element, element.name);
    }
  }

  ElementId MakeElement(NameTable::Id name) {
    return MakeElementIn(open_.empty() ? kNoElement : open_.back().element, name);
  }

  // The child of that name, as a rule a new one. Elements are numbered in the order in which they are made, children
  // after their parents: if the last one of that name is older than the parent, the parent has none.
  ElementId MakeElementIn(ElementId parent, NameTable::Id name) {
    if (tree_.element_count() == tree_.capacity() && tree_.element_count() >= kFewElements) ReserveElements();
    if (last_of_name_.size() <= name) last_of_name_.resize(tree_.name_count() + tree_.name_count() / 2, kNoElement);
    const ElementId last = last_of_name_[name];
    ElementId element = kNoElement;
    if (parent == kNoElement) {
      element = tree_.CreateRoot(tree_.NameText(name));
    } else if (last == kNoElement || last < parent) {
      element = tree_.AppendChild(parent, name);
    } else {
      element = tree_.parent(last) == parent ? last : tree_.EnsureChild(parent, tree_.NameText(name));
    }
    if (last == kNoElement || last < element) last_of_name_[name] = element;
    return element;
  }

  // As many as there will be if the text goes on like this.
  void ReserveElements() {
    const double done = static_cast<double>(at_ - begin_) / static_cast<double>(end_ - begin_);
    tree_.Reserve(static_cast<std::size_t>(static_cast<double>(tree_.element_count() + 1) / done * kMargin));
  }
  static constexpr std::size_t kFewElements = 1024;
  static constexpr double kMargin = 1.02;
  static constexpr TagMemory::Place kNoTag = 0xFFFF;

  const char* const begin_;
  const char* at_;
  const char* const end_;
  ElementTree& tree_;
  TagMemory tags_;
  TagMemory::Place root_tag_ = 0;
  std::vector<OpenElement> open_;
  std::vector<std::string> joined_;
  std::vector<ElementId> last_of_name_;  // The youngest element of each name.
};

}  // namespace

bool ReadXml(std::string_view text, ElementTree& tree) { return XmlReader(text, tree).Read(); }

}  // namespace OrvWorkFlow::Core::Dictionary
