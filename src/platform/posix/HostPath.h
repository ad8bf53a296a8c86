// From platform paths (Windows shape) to the host's own paths and back.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::System::Posix {

struct HostPath {
  std::string path;                 // Absolute, "." and ".." folded, without a final "/".
  bool is_root = false;             // A drive's root, or "/".
  bool on_drive_c = false;          // Letter case does not count there.
  bool drive_exists = false;        // For sure.
  bool trailing_separator = false;  // As the platform path had it, behind a name.
};

// False for what can name nothing here: an empty path, another drive than "C:" and "Z:", a network path, a ":" in a
// name, text that is not UTF-8, and on "C:" a name of dots and blanks alone. On "C:" the dots and blanks at a name's
// end are dropped, and names are looked up without regard to case: the exact name first, else the first that is equal;
// names that do not exist stay as they are. A relative path starts at the current directory, "C:x" at the drive's root.
// What a PathMemory of the thread keeps is not looked up again.
bool ToHostPath(std::string_view platform_path, HostPath* host);
bool ToHostPath(std::u16string_view platform_path, HostPath* host);

// The platform path of an absolute host path: on "Z:" always, or on "C:" if it lies there. Empty when it has none.
std::string ToDriveZPath(std::string_view host_path);
std::string ToDrivePath(std::string_view host_path);

// A path on "C:" needs the drive's root before anything can be made there. Makes it, and its parents, if it is missing.
void EnsureDriveRoot(const HostPath& host);

// True when a path can hold the name: UTF-8 without separators and ":".
bool IsNameable(std::string_view name);

// The name in a form that can be shown: bytes that are no text as "\xHH".
std::string Shown(std::string_view name);

// The name without the dots and blanks at its end, which do not count on "C:".
std::string_view WithoutTail(std::string_view name);

inline bool IsSeparator(char c) { return c == '\\' || c == '/'; }
inline bool IsDriveLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace OrvWorkFlow::Core::System::Posix
