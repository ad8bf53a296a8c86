// What a recorded run was like at a moment, as people and programs read it.
#pragma once

#include <optional>
#include <string>

#include "journal/MomentSearch.h"

namespace OrvWorkFlow::Program {

// How a run came to its end, as far as its record tells.
enum class RunFate { Ended, Killed, GoesOn };

struct ShownMoment {
  const Journal::MomentSearch& search;
  const Journal::Moment& moment;
  const Journal::MomentFound& found;
  RunFate fate;
};

// "after delivery 3", "before the first delivery", "at the end"...
std::string NameOf(const ShownMoment& shown);
// Where the run was, then what waits, what is at work, the nodes, and the dictionary's entries, a line each; lines of
// 80 columns for names and values of usual length.
std::string MomentAsText(const ShownMoment& shown);
// docs/show.schema.json; the dictionary's entries at and below the path, "" for all. Nothing when there are none.
std::optional<std::string> MomentAsJson(const ShownMoment& shown, const std::string& path);

// Whether a path, as "/a/b" or "/" for the root, is another one or below that.
bool IsAtOrBelow(const std::string& path, const std::string& parent);

}  // namespace OrvWorkFlow::Program
