// Whether a file is still the one that was looked at.
#pragma once

#include <string>

namespace OrvWorkFlow::Program {

// A text that is another one when the file, an absolute path in the characters of the host's file calls, was replaced
// or changed meanwhile; "" for one that cannot be looked at.
std::string IdentityOfFile(const std::string& file);

}  // namespace OrvWorkFlow::Program
