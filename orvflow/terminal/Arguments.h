// The words of the command line, in UTF-8 on every platform.
#pragma once

#include <string>
#include <vector>

namespace OrvWorkFlow::Program {

// The words behind the program's name. They stand as they were given: no pattern is expanded.
std::vector<std::string> ArgumentsInUtf8(int argument_count, char** arguments);

}  // namespace OrvWorkFlow::Program
