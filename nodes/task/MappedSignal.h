// Whether anybody hears what a node fires.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Nodes {

bool IsMapped(IDictionary& workflow, const std::string& type, const std::string& instance, const char* output);

}  // namespace OrvWorkFlow::Nodes
