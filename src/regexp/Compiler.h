// Translates a pattern into a program.
//
// Special characters: ^ $ . [ ( ) | ? + * and the backslash, which makes the next character literal; a "]" or "-"
// outside of a set, and a backslash inside, are ordinary. In a set, "]" or "-" as the first and "-" as the last are
// members; any other
// "-" makes a range from the character before it. "$" is the very end of the text, "." is any character.
#pragma once

#include "regexp/PatternError.h"
#include "regexp/Program.h"

namespace OrvWorkFlow::Core::Patterns {

// Fills `program` from a zero-terminated pattern. With several errors the first from the left is reported; a program of
// 32767 units or more is an error only when there is no other. After an error the program's content means nothing.
// Throws std::bad_alloc. Recursion goes as deep as groups, of which there are nine.
template <class Unit>
PatternError Compile(const Unit* pattern, Program<Unit>& program);

}  // namespace OrvWorkFlow::Core::Patterns
