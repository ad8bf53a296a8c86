// "--set PATH=VALUE": another value for an entry of the workflow's dictionary, for one run.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Program {

struct Setting {
  std::string path;
  std::string value;
  std::string tag = {};  // of the type; "" for the one that the entry has
};

// "/PATH=VALUE" or "/PATH:TAG=VALUE". Throws ProgramError for any other text.
Setting ParseSetting(const std::string& text);

// Gives the entry the value, in the type that it has: a text, a number, or for a Bool "true" or "false". Throws
// ProgramError when there is no such entry, it holds a list, or the value does not fit its type. With a tag the entry
// is made where it is missing, and gets that type.
void ApplySetting(IDictionary& dictionary, const Setting& setting, const std::string& shown_name);

}  // namespace OrvWorkFlow::Program
