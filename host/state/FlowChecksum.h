// What tells whether a flow file has changed since a state of it was saved.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Host {

// A checksum of a file's bytes, in hexadecimal digits. Throws HostError, with the name `shown_name`, when the file
// cannot be read to its end.
std::string ChecksumOfFile(const std::string& path, const std::string& shown_name);
// That of the flow which the workflow of the dictionary began with; "" when it holds none.
std::string ReadFlowChecksum(IDictionary& dictionary);
bool WriteFlowChecksum(IDictionary& dictionary, const std::string& checksum);

}  // namespace OrvWorkFlow::Host
