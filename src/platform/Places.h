// Where paths lead to, however they are spelled: through links, in either letter case where that does not count, by
// another drive. For whoever must not delete more than was meant.
#pragma once

#include <string>

namespace OrvWorkFlow::Core::System {

enum class PlaceRelation {
  Apart,    // also when the directory does not exist, or when its path can name nothing
  Holds,    // the directory is the place, or one of the folders above it
  Unknown,  // the system does not say
};

// How an existing directory relates to a place. What does not exist of the place is taken as it is written below the
// deepest folder that exists. Platform paths in narrow characters. Any thread. Throws std::bad_alloc.
PlaceRelation RelateToPlace(const std::string& directory, const std::string& place);

// True when the directory leads to a root: of a drive, of a share, "/". True also when the system does not say; false
// when there is nothing of that name.
bool LeadsToRoot(const std::string& directory);

// The user's own directory, as a platform path; "" when there is none.
std::string HomeDirectory();

}  // namespace OrvWorkFlow::Core::System
