#include "dictionary/tree/AttributeTable.h"

#include "base/dictionary/ValueTags.h"
#include "dictionary/values/AttributeText.h"
#include "dictionary/values/ValueText.h"
#include "dictionary/values/ValueTypes.h"

namespace OrvWorkFlow::Core::Dictionary {

AttributeTable::AttributeTable() { Intern(""); }

AttributeTable::Id AttributeTable::Intern(std::string_view text) {
  if (const Id known = texts_.Find(text); known != NameTable::kNone) return known;
  Facts facts{ValueType::Nil, false};
  if (const auto tag = FindAttribute(text, kTypeAttribute)) facts.type = Base::TypeOfTag(*tag);
  if (const auto mark = FindAttribute(text, kRedirectionAttribute)) facts.is_redirection = ParseInteger(*mark) != 0;
  facts_.push_back(facts);
  try {
    const Id id = texts_.Intern(text);
    has_redirections_ = has_redirections_ || facts.is_redirection;
    return id;
  } catch (...) {
    facts_.pop_back();
    throw;
  }
}

AttributeTable::Id AttributeTable::WithType(Id id, ValueType type) {
  Retyped& answer = retyped_[(id * 11 + static_cast<std::uint32_t>(type)) % retyped_.size()];
  if (answer.from != id || answer.type != type) {
    const Id to = Intern(WithAttribute(Text(id), kTypeAttribute, Base::TagOf(type)));
    answer = {id, type, to};
  }
  return answer.to;
}

}  // namespace OrvWorkFlow::Core::Dictionary
