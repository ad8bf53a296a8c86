// What the program asks a workflow's dictionary.
#pragma once

#include "flow/DictionaryReading.h"

namespace OrvWorkFlow::Program {

using Flow::NamesBelow;
using Flow::TextAt;

}  // namespace OrvWorkFlow::Program
