// How texts and attribute texts stand in a dictionary file.
#pragma once

#include <string>
#include <string_view>

#include "dictionary/xml/TextBuffer.h"

namespace OrvWorkFlow::Core::Dictionary {

// "&", "<" and ">" become references; control bytes that are no blanks become "?"; all else stands as it is, quotes and
// bytes above 127 included. Throws what the buffer throws.
void AppendEscaped(TextBuffer& output, std::string_view text);

// In an attribute text a reference to a double quote becomes an apostrophe: it must not end the value it stands in.
enum class UnescapeMode { Text, Attributes };

// Understood are "&lt;" "&gt;" "&apos;" "&quot;", decimal references from "&#1;" to "&#255;", and "&amp;". References
// are replaced in this order, numbers ascending: what a replacement brings about counts for later ones ("&#38;#65;" is
// "A"), and not for itself or earlier ones ("&amp;lt;" is "&lt;"). Unknown ones stay. Throws std::bad_alloc.
std::string Unescape(std::string_view text, UnescapeMode mode);

}  // namespace OrvWorkFlow::Core::Dictionary
