#include "dictionary/xml/XmlWriter.h"

#include <cstring>
#include <stdexcept>
#include <vector>

#include "dictionary/xml/ByteScan.h"
#include "dictionary/xml/Escaping.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";

// Copies a text to where there is room for it, and quickly if it is short.
char* Put(char* to, std::string_view text) {
  const char* const from = text.data();
  const std::size_t size = text.size();
  const auto copy = [=](std::size_t at, auto word) {
    std::memcpy(&word, from + at, sizeof word);
    std::memcpy(to + at, &word, sizeof word);
  };
  if (size > 16) {
    std::memcpy(to, from, size);
  } else if (size >= 8) {
    copy(0, std::uint64_t{});
    copy(size - 8, std::uint64_t{});
  } else if (size >= 4) {
    copy(0, std::uint32_t{});
    copy(size - 4, std::uint32_t{});
  } else {
    for (std::size_t at = 0; at < size; ++at) to[at] = from[at];
  }
  return to + size;
}

class XmlWriter {
 public:
  XmlWriter(const ElementTree& tree, TextBuffer& output)
      : tree_(tree), output_(output), attributes_(tree.attributes_count(), Content::Unknown) {}

  void Write(ElementId root) {
    std::size_t depth = 1;
    ElementId at = root;
    for (;;) {
      WriteStart(at, depth);
      if (tree_.first_child(at) != kNoElement) {
        at = tree_.first_child(at);
        ++depth;
        continue;
      }
      // Here and behind each end tag: the end of what is before, then on to the next element.
      ElementId next = tree_.next_sibling(at);
      WriteEndTag(at);
      while (at != root && next == kNoElement) {
        at = tree_.parent(at);
        --depth;
        BreakLine(depth - 1);
        WriteEndTag(at);
        next = tree_.next_sibling(at);
      }
      if (at == root) return;
      at = next;
      BreakLine(depth - 1);
    }
  }

 private:
  // Whether an attribute text stands in a file as it is; found out once.
  enum class Content : unsigned char { Unknown, Plain, Escaped };

  void WriteStart(ElementId id, std::size_t depth) {
    const std::string_view name = tree_.name(id);
    const std::string_view text = tree_.text(id);
    const std::string_view attributes = tree_.attributes(id);
    char* at = output_.Room(name.size() + attributes.size() + text.size() + 3);
    *at++ = '<';
    at = Put(at, name);
    if (!attributes.empty()) {
      *at++ = ' ';
      at = IsPlain(tree_.attributes_id(id)) ? Put(at, attributes) : AppendEscapedAt(at, attributes, text.size() + 1);
    }
    *at++ = '>';
    if (!text.empty()) {
      char* const end = Put(at, text);
      // The tag is before it, so the last sixteen bytes can be looked at as one.
      const bool is_plain = FindFirst<EscapedBytes>(output_.view().data(), at, end) == end;
      at = is_plain ? end : AppendEscapedAt(at, text, 0);
    }
    output_.Commit(at);
    if (text.empty() && attributes.empty() && tree_.first_child(id) != kNoElement) BreakLine(depth);
  }

  bool IsPlain(AttributeTable::Id id) {
    Content& content = attributes_[id];
    if (content == Content::Unknown) {
      const std::string_view text = tree_.attributes_text(id);
      const char* const end = text.data() + text.size();
      content = FindFirst<EscapedBytes>(text.data(), end) == end ? Content::Plain : Content::Escaped;
    }
    return content == Content::Plain;
  }

  // Ends the output at `at`, goes on with the text, and gives room for `more` bytes behind it.
  char* AppendEscapedAt(char* at, std::string_view text, std::size_t more) {
    output_.Commit(at);
    AppendEscaped(output_, text);
    return output_.Room(more);
  }

  void WriteEndTag(ElementId id) {
    const std::string_view name = tree_.name(id);
    char* at = output_.Room(name.size() + 3);
    *at++ = '<';
    *at++ = '/';
    at = Put(at, name);
    *at++ = '>';
    output_.Commit(at);
  }

  void BreakLine(std::size_t tabs) {
    if (tabs > kDeep) CountDeep(tabs);
    char* at = output_.Room(tabs + 2);
    *at++ = '\r';
    *at++ = '\n';
    for (std::size_t i = 0; i < tabs; ++i) *at++ = '\t';
    output_.Commit(at);
  }

  // Indentation grows with the square of the depth: thirty thousand levels would be a gigabyte of it.
  void CountDeep(std::size_t tabs) {
    deep_tabs_ += tabs;
    if (deep_tabs_ > kMostDeepTabs) throw std::length_error("entries nest too deep to be written to a file");
  }
  static constexpr std::size_t kDeep = 1000;
  static constexpr std::size_t kMostDeepTabs = std::size_t{64} << 20;

  const ElementTree& tree_;
  TextBuffer& output_;
  std::size_t deep_tabs_ = 0;
  std::vector<Content> attributes_;
};

}  // namespace

void WriteXml(const ElementTree& tree, TextBuffer& output) {
  output.Append(kDeclaration);
  if (tree.root() != kNoElement) XmlWriter(tree, output).Write(tree.root());
}

}  // namespace OrvWorkFlow::Core::Dictionary
