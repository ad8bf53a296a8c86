// Files of other users, in folders that all may write to.
#pragma once

#include <string>

namespace orv_test {

// How the program names the user to whom files are given here.
extern const char* const kStranger;

// Whether this process may give files away: the superuser, and under Wine one of a Linux superuser.
bool CanGiveAway();
// Gives the file, or the link itself, to another user or back to this one. Throws when it cannot.
void GiveAway(const std::string& file);
void TakeBack(const std::string& file);
// Lets everybody write into the folder, or its owner alone. Throws when it cannot.
void OpenToAll(const std::string& folder);
void OpenToOwner(const std::string& folder);

}  // namespace orv_test
