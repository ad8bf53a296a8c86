// Dictionary files, in the words of this program.
#pragma once

#include <string>
#include <string_view>

#include "host/files/DictionaryLoading.h"

namespace OrvWorkFlow::Program {

// As Host::LoadDictionary. What is doubtful becomes a line on standard error.
void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name);
// The same from a text, such as standard input.
void LoadDictionaryText(IDictionary& dictionary, std::string_view text, const std::string& shown_name);
// As Host::ReadFlow.
void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name);

// What the user of this program is told about the state of a flow.
inline constexpr Host::StateWords kStateWords = {
    .argument = "run: --state ",
    .option = " with --state",
    .begin_anew = "begin anew with --fresh",
    .key = "--key-file",
};

}  // namespace OrvWorkFlow::Program
