// Texts and attributes of entries as a dictionary file spells them, by the rules of the dictionary's reader.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace OrvWorkFlow::Program {

// Without the blanks (those of the "C" locale) at both ends.
std::string_view TrimmedText(std::string_view text);
inline bool IsBlankText(std::string_view text) { return TrimmedText(text).empty(); }

// What references stand for. In an attribute "&quot;" and "&#34;" are an apostrophe.
enum class TextPlace { Value, Attributes };
std::string Unescaped(std::string_view text, TextPlace place);

// The text so that it stands on one line, that no tool which translates line ends changes it, and that the reader gives
// it back byte for byte. A text without zero bytes.
std::string Escaped(std::string_view text);

// The pairs in an attribute text, in their order; what is no pair is left out.
using AttributePairs = std::vector<std::pair<std::string, std::string>>;
AttributePairs PairsOf(std::string_view attributes);
// The first of that name.
std::optional<std::string> AttributeOf(std::string_view attributes, std::string_view name);
// The pairs as an attribute text.
std::string TextOfPairs(const AttributePairs& pairs);

// The attribute text in canonical order: "__type" first, the others by name. One that holds anything but pairs, or that
// would be read otherwise, stays as it is.
std::string CanonicalAttributes(const std::string& attributes);

}  // namespace OrvWorkFlow::Program
