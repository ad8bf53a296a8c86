// Writes a tree as the text of a dictionary file.
#pragma once

#include "dictionary/tree/ElementTree.h"
#include "dictionary/xml/TextBuffer.h"

namespace OrvWorkFlow::Core::Dictionary {

inline constexpr std::string_view kFileVersionAttribute = "IDictionaryFileVersion";
inline constexpr std::string_view kFileVersion = "2.0.0.0";

// Appends the declaration and, if the tree has one, the root element. An element with text or attributes is followed
// directly by its first child, since blanks there would become part of its text; all others stand on lines of their
// own. Throws what the buffer throws, and
// std::length_error when indentation behind level 1,000 comes to more than 64 MiB.
void WriteXml(const ElementTree& tree, TextBuffer& output);

}  // namespace OrvWorkFlow::Core::Dictionary
