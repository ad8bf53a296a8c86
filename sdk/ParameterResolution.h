// What stands for the values in a parameter's text.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Sdk::Parameters {

// The text with all values put in but those of the environment, which stay as they are written; what was put in is
// escaped. Throws std::runtime_error with what is wrong and what to do, to be read behind the parameter's name.
std::string PutIn(const std::string& text, IDictionary& dictionary);

// What PutIn left, with the variables of the environment put in and nothing escaped any more. Throws as it does.
std::string PutInEnvironment(const std::string& text, IDictionary& dictionary);

}  // namespace OrvWorkFlow::Sdk::Parameters
