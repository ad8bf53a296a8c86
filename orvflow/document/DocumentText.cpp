// The canonical text.
#include <algorithm>
#include <charconv>

#include "base/dictionary/ValueTags.h"
#include "orvflow/document/Document.h"
#include "orvflow/document/EntryText.h"
#include "orvflow/files/DictionaryText.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n";

// The number of a list item's name, "__item12"; nothing for other names.
std::optional<unsigned long long> ItemNumber(std::string_view name) {
  constexpr std::string_view kPrefix = "__item";
  if (!name.starts_with(kPrefix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  const bool is_plain = !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos &&
                        (name.size() == 1 || name.front() != '0');
  unsigned long long number = 0;
  const std::from_chars_result end = std::from_chars(name.data(), name.data() + name.size(), number);
  return is_plain && end.ec == std::errc() ? std::optional(number) : std::nullopt;
}

// An attribute text as it stands in a tag: the reader skips blanks before it, and takes a "/" behind it for the end.
std::string ForTag(const std::string& attributes) {
  std::string text = Escaped(attributes);
  if (text.ends_with('/')) text.replace(text.size() - 1, 1, "&#47;");
  if (text.starts_with(' ')) text.replace(0, 1, "&#32;");
  if (text.starts_with('\t')) text.replace(0, 1, "&#9;");
  return text;
}

class DocumentWriter {
 public:
  DocumentWriter(const Document& document, std::string first_indent, bool with_remarks)
      : document_(document), indent_(std::move(first_indent)), with_remarks_(with_remarks) {}

  std::string Take() { return std::move(text_); }
  void Add(std::string_view text) { text_ += text; }
  void AddLines(const Remarks& remarks) {
    for (const std::string& remark : remarks) text_.append(remark).append("\n");
  }

  // From the start tag to the end tag.
  void Write(Document::Id id) {
    const Document::Element& element = document_.at(id);
    const std::string attributes = CanonicalAttributes(element.attributes);
    text_.append("<").append(element.name);
    if (!attributes.empty()) text_.append(" ").append(ForTag(attributes));
    text_ += ">";
    const bool is_free = HasFreeLayout(element);
    if (!is_free || !IsBlankText(element.text)) text_ += Escaped(element.text);
    if (with_remarks_ && MovesAbove(element) && id == Document::kRoot) {
      // Above the root a comment ends at its first ">".
      for (const std::string& remark : element.last) text_ += remark;
    }
    const Remarks& last = with_remarks_ && !MovesAbove(element) ? element.last : kNoRemarks;
    indent_ += '\t';
    bool is_inline = !is_free;
    for (const Document::Id child : InOrder(element)) {
      WriteChild(child, is_inline);
      is_inline = false;
    }
    for (const std::string& remark : last) BreakLine().append(remark);
    indent_.pop_back();
    if (!element.children.empty() || !last.empty()) BreakLine();
    text_.append("</").append(element.name).append(">");
  }

 private:
  static const Remarks kNoRemarks;

  // Whether lines may be broken in it before its first child: no blank there becomes part of a value.
  static bool HasFreeLayout(const Document::Element& element) {
    return element.attributes.empty() || IsLayout(element);
  }
  // Comments in a value stand above its entry.
  static bool MovesAbove(const Document::Element& element) {
    return element.children.empty() && !(HasFreeLayout(element) && IsBlankText(element.text));
  }

  std::string& BreakLine() { return text_.append("\n").append(indent_); }

  void WriteChild(Document::Id id, bool is_inline) {
    const Document::Element& child = document_.at(id);
    const auto write = [&](const Remarks& remarks) {
      for (const std::string& remark : remarks) {
        if (!is_inline) BreakLine();
        text_ += remark;
      }
    };
    if (with_remarks_) write(child.before);
    if (with_remarks_ && MovesAbove(child)) write(child.last);
    if (!is_inline) BreakLine();
    Write(id);
    if (!with_remarks_) return;
    for (const std::string& remark : child.behind) text_.append(" ").append(remark);
  }

  // List items by their numbers, ahead of what else is there.
  std::vector<Document::Id> InOrder(const Document::Element& element) const {
    std::vector<Document::Id> children = element.children;
    if (element.name != kListHolder) return children;
    static constexpr auto kLast = static_cast<unsigned long long>(-1);
    const auto number = [this](Document::Id id) { return ItemNumber(document_.at(id).name).value_or(kLast); };
    std::stable_sort(children.begin(), children.end(),
                     [&](Document::Id a, Document::Id b) { return number(a) < number(b); });
    return children;
  }

  const Document& document_;
  std::string text_;
  std::string indent_;
  bool with_remarks_;
};

const Remarks DocumentWriter::kNoRemarks;

}  // namespace

bool IsLayout(const Document::Element& element) {
  if (!IsBlankText(element.text)) return false;
  const ValueType type = Base::TypeOfTag(AttributeOf(element.attributes, kTypeAttribute).value_or(""));
  return type == ValueType::Nil || IsList(type);
}

std::string CanonicalText(const Document& document) {
  DocumentWriter writer(document, "", true);
  writer.Add(kDeclaration);
  writer.AddLines(document.prolog);
  writer.Write(Document::kRoot);
  writer.Add("\n");
  writer.AddLines(document.epilog);
  return writer.Take();
}

std::string CanonicalText(const Document& document, Document::Id id, const std::string& indent) {
  DocumentWriter writer(document, indent, false);
  writer.Write(id);
  return writer.Take();
}

}  // namespace OrvWorkFlow::Program
