// What a program wrote, as a text that a dictionary can hold.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Nodes {

// Bytes that are no UTF-8, and characters that no XML file can hold, become "?"; a character that is cut off at the end
// goes.
std::string AsText(std::string_view bytes);

}  // namespace OrvWorkFlow::Nodes
