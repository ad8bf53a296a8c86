// What an entry of a document holds, as far as it is of meaning: value, type and attributes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "orvflow/document/Document.h"

namespace OrvWorkFlow::Program {

struct EntryValue {
  std::string tag;  // of the type, in the spelling that is written; an unknown one as it stands; "" for none
  std::vector<std::string>
      texts;  // one of a scalar, one an item of a list; of an entry without a type its text, if any
  bool operator==(const EntryValue&) const = default;
};

struct EntryContent {
  EntryValue value;
  std::map<std::string, std::string> attributes;  // without the type's and the root's version of the file form
  bool operator==(const EntryContent&) const = default;
};

EntryValue ValueOf(const Document& document, Document::Id id);
EntryContent ContentOf(const Document& document, Document::Id id);
// The children that are entries: without the holder of list items.
std::vector<Document::Id> EntriesOf(const Document& document, Document::Id id);

// Whether two entries with all below them hold the same, in whatever order it stands.
bool HaveSameContent(const Document& first, Document::Id a, const Document& second, Document::Id b);

// A value for people, on one line and shortened: `int 5`, `str "a\nb"`, `intlist [1, 2, 3]`; "no value" for none.
std::string ShownValue(const EntryValue& value);
// A text in quotes, shortened; what would move a cursor stands as "\x1b".
std::string ShownText(const std::string& text);

}  // namespace OrvWorkFlow::Program
