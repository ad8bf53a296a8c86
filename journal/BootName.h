// Which start of the machine this is.
#pragma once

#include <string>

namespace OrvWorkFlow::Journal {

// A name that the machine has until it is started again; "" when the system does not tell.
std::string NameOfBoot();
// Whether both are names, and of two starts. What a process wrote before the last start may have been lost in part.
bool AreOtherBoots(const std::string& one, const std::string& other);

}  // namespace OrvWorkFlow::Journal
