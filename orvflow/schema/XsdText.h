// The pieces of an XML schema as text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program::Xsd {

// For the content of an element and for an attribute between double quotes.
std::string Escaped(std::string_view text);

// The text as a pattern that matches nothing else.
std::string Pattern(std::string_view text);
// The same, whether its letters (A to Z) are small or capital.
std::string AnyCasePattern(std::string_view text);
// "(one|two)" of such patterns.
std::string OneOf(const std::vector<std::string>& texts);

// Whether an element can have that name.
bool IsElementName(std::string_view name);

// An annotation with that sentence; nothing for "".
std::string Documentation(std::string_view sentence);

// <xs:element name="NAME"...>: `occurs` such as " minOccurs=\"0\"", `content` a type definition.
std::string Element(std::string_view name, std::string_view occurs, std::string_view sentence,
                    std::string_view content);
// The same with a type that has a name.
std::string ElementOf(std::string_view name, std::string_view occurs, std::string_view sentence, std::string_view type);

// A type whose elements are these, each once at most and in any order; attributes as they come.
std::string All(std::string_view elements);

inline constexpr std::string_view kOptional = " minOccurs=\"0\"";

}  // namespace OrvWorkFlow::Program::Xsd
