// Loading and saving dictionary files, with reasons that say whether the file is damaged.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/host/StateFile.h"

namespace OrvWorkFlow::Host {

// How the user is told what to do.
struct LoadWords {
  std::string_view remedy = {};      // follows a damage, such as "; begin anew with --fresh"
  std::string_view key = "the key";  // where the key comes from
  LineReceiver tell = {};            // gets what is doubtful
};

// Loads a file into the dictionary, whose content goes. `file` is what MakeAbsolutePath gave, `shown_name` what the
// user calls it. A file that another process has open is tried again for two seconds. A plain file under a key is
// loaded and told.
//
// Throws HostError: Failed when there is no such file, it is a folder, or the system refuses or fails ("the file may be
// whole"); Damaged only when its bytes were read and are wrong, with their line and column; InUse when another process
// still has it.
void LoadDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name,
                    const LoadWords& words = {});
// The same for a workflow's file, which is a dictionary with a root of the right name; all that is doubtful is told.
void ReadFlow(IDictionary& dictionary, const std::string& file, const std::string& shown_name,
              const LoadWords& words = {});

// The error for a load of the dictionary that has just failed.
HostError LoadError(IDictionary& dictionary, const std::string& shown_name, const LoadWords& words = {});
// The same for a save.
HostError SaveError(IDictionary& dictionary, const std::string& shown_name);

// Saves to a file; one that another process has open is tried again for two seconds. Throws HostError; the file is as
// it was then.
void SaveDictionary(IDictionary& dictionary, const std::string& file, const std::string& shown_name);

// What is doubtful in the text that was loaded last (see IDictionary::GetLoadProblems), and what a save leaves out.
struct LoadedText {
  std::vector<std::string> problems;  // "line L, column C: what"
  unsigned remarks = 0;               // comments and instructions
  unsigned first_remark_line = 0;
};
// Right after a load. Throws std::bad_alloc.
LoadedText LookAtLoadedText(IDictionary& dictionary);

}  // namespace OrvWorkFlow::Host
