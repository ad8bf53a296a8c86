// The attribute texts of a tree, each kept once together with what is asked of it again and again.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "dictionary/tree/NameTable.h"

namespace OrvWorkFlow::Core::Dictionary {

// Not synchronised. Number 0 is the empty text.
class AttributeTable {
 public:
  using Id = NameTable::Id;
  static constexpr Id kEmpty = 0;

  AttributeTable();

  // Throws std::bad_alloc.
  Id Intern(std::string_view text);
  std::string_view Text(Id id) const { return texts_.Text(id); }
  // What "__type" says.
  ValueType Type(Id id) const { return facts_[id].type; }
  // True when "_isRedirection" is there and its number is not zero.
  bool IsRedirection(Id id) const { return facts_[id].is_redirection; }
  // True when one of the texts was ever that of a redirection.
  bool has_redirections() const { return has_redirections_; }
  // The attributes with "__type" set to the type's tag. Throws std::bad_alloc.
  Id WithType(Id id, ValueType type);
  std::size_t size() const { return texts_.size(); }

 private:
  struct Facts {
    ValueType type;
    bool is_redirection;
  };
  // A remembered answer of WithType.
  struct Retyped {
    Id from = NameTable::kNone;
    ValueType type = ValueType::Nil;
    Id to = NameTable::kNone;
  };

  NameTable texts_;
  std::vector<Facts> facts_;
  bool has_redirections_ = false;
  std::array<Retyped, 64> retyped_;
};

}  // namespace OrvWorkFlow::Core::Dictionary
