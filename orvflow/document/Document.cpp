#include "orvflow/document/Document.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Program {

Document::Document() : elements_(1) {
  elements_.front().name = kDictionaryRoot;
  elements_.front().attributes = std::string(kVersionAttribute) + "=\"2.0.0.0\"";
}

Document::Id Document::Find(Id parent, std::string_view name) const {
  const auto found = by_name_.find(Key{parent, std::string(name)});
  return found == by_name_.end() ? kNone : found->second;
}

Document::Id Document::AddChild(Id parent, std::string name) {
  const Id id = elements_.size();
  by_name_[Key{parent, name}] = id;
  elements_.emplace_back().name = std::move(name);
  elements_[parent].children.push_back(id);
  return id;
}

Document::Id Document::CopyFrom(const Document& source, Id from, Id parent) {
  const Id id = AddChild(parent, source.at(from).name);
  const Element& original = source.at(from);
  Element& copy = elements_[id];
  copy.attributes = original.attributes;
  copy.text = original.text;
  copy.before = original.before;
  copy.behind = original.behind;
  copy.last = original.last;
  for (const Id child : original.children) CopyFrom(source, child, id);
  return id;
}

void Document::RemoveChild(Id parent, Id child) {
  by_name_.erase(Key{parent, elements_[child].name});
  std::erase(elements_[parent].children, child);
}

}  // namespace OrvWorkFlow::Program
