// Lines that tell what a node did.
#pragma once

#include <string>
#include <vector>

#include "orvflow/replay/Deeds.h"

namespace OrvWorkFlow::Program {

const char* OperationWord(DictionaryChange::Operation operation);

// "accepted"; "threw: no room".
std::string AnswerText(const Deeds& deeds);
std::vector<std::string> FiringTexts(const Deeds& deeds);
// Long texts that begin like the ones of the other's change at the same place are shown from where they differ.
std::vector<std::string> ChangeTexts(const Deeds& deeds, const Deeds& other);

// The two sides of what differs: a title, what is the same in brief, lines with "-" and "+". "" when nothing differs.
std::string SectionText(const std::string& title, const std::vector<std::string>& recorded,
                        const std::vector<std::string>& replayed);

}  // namespace OrvWorkFlow::Program
