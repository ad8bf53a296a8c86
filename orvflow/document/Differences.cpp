#include "orvflow/document/Differences.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Program {

namespace {

using Kind = Difference::Kind;

class Comparison {
 public:
  Comparison(const Document& first, const Document& second) : first_(first), second_(second) {}

  std::vector<Difference> Run() {
    Compare(Document::kRoot, Document::kRoot, "");
    return std::move(differences_);
  }

 private:
  void Compare(Document::Id a, Document::Id b, const std::string& path) {
    EntryContent old_content = ContentOf(first_, a);
    EntryContent new_content = ContentOf(second_, b);
    if (old_content != new_content) {
      Difference& difference = Add(Kind::Changed, path);
      difference.old_content = std::move(old_content);
      difference.new_content = std::move(new_content);
    }
    CompareOrder(a, b, path);
    for (const Document::Id child : EntriesOf(first_, a)) {
      const std::string& name = first_.at(child).name;
      const Document::Id other = second_.Find(b, name);
      if (other == Document::kNone) {
        AddAll(Kind::Removed, first_, child, path + "/" + name);
      } else {
        Compare(child, other, path + "/" + name);
      }
    }
    for (const Document::Id child : EntriesOf(second_, b)) {
      const std::string& name = second_.at(child).name;
      if (first_.Find(a, name) == Document::kNone) AddAll(Kind::Added, second_, child, path + "/" + name);
    }
  }

  void CompareOrder(Document::Id a, Document::Id b, const std::string& path) {
    std::vector<std::string> old_order = CommonNames(first_, a, second_, b);
    std::vector<std::string> new_order = CommonNames(second_, b, first_, a);
    if (old_order == new_order) return;
    Difference& difference = Add(Kind::Order, path);
    difference.old_order = std::move(old_order);
    difference.new_order = std::move(new_order);
  }

  static std::vector<std::string> CommonNames(const Document& document, Document::Id id, const Document& other,
                                              Document::Id other_id) {
    std::vector<std::string> names;
    for (const Document::Id child : EntriesOf(document, id)) {
      const std::string& name = document.at(child).name;
      if (other.Find(other_id, name) != Document::kNone) names.push_back(name);
    }
    return names;
  }

  void AddAll(Kind kind, const Document& document, Document::Id id, const std::string& path) {
    Difference& difference = Add(kind, path);
    (kind == Kind::Added ? difference.new_content : difference.old_content) = ContentOf(document, id);
    for (const Document::Id child : EntriesOf(document, id)) {
      AddAll(kind, document, child, path + "/" + document.at(child).name);
    }
  }

  Difference& Add(Kind kind, const std::string& path) {
    Difference& difference = differences_.emplace_back();
    difference.kind = kind;
    difference.path = path.empty() ? "/" : path;
    return difference;
  }

  const Document& first_;
  const Document& second_;
  std::vector<Difference> differences_;
};

}  // namespace

std::vector<Difference> FindDifferences(const Document& first, const Document& second) {
  return Comparison(first, second).Run();
}

}  // namespace OrvWorkFlow::Program
