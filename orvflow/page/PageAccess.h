// What the pages of a run and of a record share: their file, their token, and the answers of their server.
#pragma once

#include <cstdint>
#include <string>

#include "monitor/MonitorServer.h"
#include "orvflow/page/PageJson.h"

namespace OrvWorkFlow::Program {

// That of the file, which the user has named so; "" makes a new one. Throws ProgramError.
std::string TokenFrom(const std::string& file);

// For a user: with the token, or with the name of the file that holds it.
std::string AddressOf(std::uint16_t port, const std::string& token, const std::string& token_file);

// The page itself, where the program has it.
Monitor::Content PageContent();
Monitor::Content JsonContent(const Json& json);
Monitor::Content TextContent(unsigned status, const std::string& text);

}  // namespace OrvWorkFlow::Program
