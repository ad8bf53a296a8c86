// The state of a workflow, as it would have been saved, from the record of its run.
#pragma once

#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"
#include "journal/RunStanding.h"

namespace OrvWorkFlow::Journal {

// The dictionary becomes that of the run that `standing` was read from, in the record at `path`: as it was when the
// run's snapshot was made, with all changes that count, up to the run's end, or only those before the entry number
// `entries` of the record. Throws HostError (Damaged) when a change cannot be made.
void MakeDictionaryOf(const RunStanding& standing, const std::string& path, IDictionary& dictionary,
                      std::uint64_t entries = UINT64_MAX);

// What a save writes beside the dictionary's own content: signals that wait, those that failed, reboot signals,
// absorbed workflows, and whether the workflow has been started. Throws std::bad_alloc when the dictionary refuses.
void WriteStanding(const RunStanding& standing, IDictionary& dictionary);

// Whether the global utility object is one of the library's own, which keep nothing between runs.
bool IsOfLibrary(std::string_view object_name);

}  // namespace OrvWorkFlow::Journal
