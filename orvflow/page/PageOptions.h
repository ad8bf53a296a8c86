// What the user asks of the page that shows a run.
#pragma once

#include <cstdint>
#include <string>

namespace OrvWorkFlow::Program {

struct PageOptions {
  std::uint16_t port = 0;       // any that is free
  bool takes_commands = false;  // the page can pause the run, stop it, and so on
  std::string token_file;       // as the user names it; "": the token is a new one each time
};

}  // namespace OrvWorkFlow::Program
