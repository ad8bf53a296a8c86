#include "dictionary/XmlWriter.h"

#include "dictionary/Escaping.h"

namespace OrvWorkFlow {
namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n\r\n";

class XmlWriter {
 public:
  XmlWriter(const ElementTree& tree, TextBuffer& output) : tree_(tree), output_(output) {}

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
      WriteEndTag(at);
      while (at != root && tree_.next_sibling(at) == kNoElement) {
        at = tree_.parent(at);
        --depth;
        BreakLine(depth - 1);
        WriteEndTag(at);
      }
      if (at == root) return;
      at = tree_.next_sibling(at);
      BreakLine(depth - 1);
    }
  }

 private:
  void WriteStart(ElementId id, std::size_t depth) {
    const std::string_view text = tree_.text(id);
    const std::string_view attributes = tree_.attributes(id);
    output_.Append('<', 1);
    output_.Append(tree_.name(id));
    if (!attributes.empty()) {
      output_.Append(' ', 1);
      AppendEscaped(output_, attributes);
    }
    output_.Append('>', 1);
    AppendEscaped(output_, text);
    if (text.empty() && attributes.empty() && tree_.first_child(id) != kNoElement) BreakLine(depth);
  }

  void WriteEndTag(ElementId id) {
    output_.Append("</");
    output_.Append(tree_.name(id));
    output_.Append('>', 1);
  }

  void BreakLine(std::size_t tabs) {
    output_.Append("\r\n");
    output_.Append('\t', tabs);
  }

  const ElementTree& tree_;
  TextBuffer& output_;
};

}  // namespace

void WriteXml(const ElementTree& tree, TextBuffer& output) {
  output.Append(kDeclaration);
  if (tree.root() != kNoElement) XmlWriter(tree, output).Write(tree.root());
}

}  // namespace OrvWorkFlow
