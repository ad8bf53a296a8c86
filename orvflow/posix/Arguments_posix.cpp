#include "orvflow/terminal/Arguments.h"

namespace OrvWorkFlow::Program {

std::vector<std::string> ArgumentsInUtf8(int argument_count, char** arguments) {
  if (argument_count < 2) return {};
  return {arguments + 1, arguments + argument_count};
}

}  // namespace OrvWorkFlow::Program
