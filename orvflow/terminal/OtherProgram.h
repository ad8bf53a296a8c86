// Programs of others that this one starts.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace OrvWorkFlow::Program {

// Starts a program that is looked for in the user's PATH, with this program's streams, and waits for its end. The exit
// code; 128 and the signal that ended it; nothing when there is no such program or it cannot be started. No shell takes
// part: words are given as they stand, and files in the narrow characters of the host's calls.
std::optional<int> RunOtherProgram(const std::string& program, const std::vector<std::string>& words);

}  // namespace OrvWorkFlow::Program
