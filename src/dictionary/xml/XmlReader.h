// Builds a tree from the text of a dictionary file: elements only, no general XML.
#pragma once

#include <string_view>

#include "dictionary/tree/ElementTree.h"

namespace OrvWorkFlow::Core::Dictionary {

// Reads one element with all that is in it; whatever follows its end tag is not looked at. The tree must be empty, and
// must have been given the owner of `text` (KeepAlive): the elements' texts are views of it. At most kMaxTextSize
// bytes.
//
// False when the text ends before that element does, or has a tag without a name. An element enters the tree at its end
// tag, its ancestors (still empty) with it, so what was complete by then is in the tree. Of siblings with one name the
// later one's text and attributes win, and its children join the earlier one's.
//
// Time and memory grow with the text, whatever it holds. Throws std::bad_alloc; the tree holds what was complete by
// then.
bool ReadXml(std::string_view text, ElementTree& tree);

}  // namespace OrvWorkFlow::Core::Dictionary
