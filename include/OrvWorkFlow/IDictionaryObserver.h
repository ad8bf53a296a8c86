// Every change of a dictionary, told as it happens, so that another dictionary can be made the same.
#pragma once

#include <cstddef>
#include <cstdint>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow {

// A view; need not be zero-terminated.
struct DictionaryText {
  const char* data = "";
  std::size_t size = 0;
};

// One change. Redirections were followed: what is named is what was changed, and doing the same with a dictionary that
// is as this one was, without following redirections, makes it as this one is now.
struct DictionaryChange {
  enum class Operation : std::int32_t {
    SetValue = 1,         // `type` and text forms, one for a scalar, as SetValueTexts takes them
    SetAttribute = 2,     // `other` is its name, the only text its value; makes a missing entry
    RemoveAttribute = 3,  // `other` is its name
    Delete = 4,
    Clear = 5,
    Rename = 6,      // `other` is the new name
    Copy = 7,        // `other` is the path of the source, as CopySubtree has it
    Move = 8,        // the same, as MoveSubtree has it
    Merge = 9,       // the only text is a dictionary's text, whose root MergeSubtree adds to `path`
    Replace = 10,    // the only text is a dictionary's text, whose root takes the place of the entry
    Load = 11,       // the only text is a dictionary's text, which is the whole content from now on; no `path`
    EmptyPairs = 12  // "/IDictionaryNameValPairs" is an entry without content, the last below the root; no `path`
  };

  Operation operation = Operation::SetValue;
  ValueType type = ValueType::Nil;
  DictionaryText path;
  DictionaryText other;
  const DictionaryText* texts = nullptr;
  std::size_t text_count = 0;
};

// A host implements it and gives it to IDictionary::SetObserver.
//
// Threads and order. Called on the thread that changes, with the dictionary's mutex held, so in the true order of the
// changes: an operation only records, calls nothing of the library, waits for nothing and does not throw. What it is
// given is valid during the call. Calls that change nothing are not told.
class IDictionaryObserver {
 public:
  virtual void DictionaryChanged(const DictionaryChange& change) = 0;

  // A change that cannot be told: memory ran out in the midst of one, or for what was to be told. From here on what is
  // told does not make another dictionary the same.
  virtual void DictionaryLost() = 0;

 protected:
  ~IDictionaryObserver() = default;
};

}  // namespace OrvWorkFlow
