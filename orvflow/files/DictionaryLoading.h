// Loading and saving the dictionary files that a user names: what is wrong, in one line, with the exit code that says
// whether the file is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

// Loads a file into the dictionary, whose content goes. `file` is what MakeAbsolutePath gave, `shown_name` what the
// user calls it. A file that another process has open is tried again for two seconds. A plain file under a key is
// loaded, and one line on standard error says so.
//
// Throws ProgramError: Failed (1) when there is no such file, it is a folder, or the system refuses or fails ("the file
// may be whole"); DictionaryDamaged (5) only when its bytes were read and are wrong, with their line and column; InUse
// (7) when another process still has it. `remedy` follows a damage, such as "; begin anew with --fresh".
void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name,
                    std::string_view remedy = {});
// The same from a text, such as standard input.
void LoadDictionaryText(IDictionary& dictionary, std::string_view text, const std::string& shown_name);

// The error for a load of the dictionary that has just failed.
ProgramError LoadError(IDictionary& dictionary, const std::string& shown_name, std::string_view remedy = {});
// The same for a save.
ProgramError SaveError(IDictionary& dictionary, const std::string& shown_name);

// Saves to a file; one that another process has open is tried again for two seconds. Throws ProgramError; the file is
// as it was then.
void SaveDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name);

// What is doubtful in the text that was loaded last (see IDictionary::GetLoadProblems), and what a save leaves out.
struct LoadedText {
  std::vector<std::string> problems;  // "line L, column C: what"
  unsigned remarks = 0;               // comments and instructions
  unsigned first_remark_line = 0;
};
// Right after a load. Throws std::bad_alloc.
LoadedText LookAtLoadedText(IDictionary& dictionary);

}  // namespace OrvWorkFlow::Program
