// This folder holds all that the library asks of the operating system, as small abstract classes with the shape of the
// calls that it makes. posix/ and windows/ hold one implementation each, of which the build takes one. The tests put a
// wrapper around it that makes every failure happen on demand (tests/fault/).
//
// Platform paths have Windows shape on every platform: "C:\a\b" with either separator. On Linux "C:" is a private
// directory ($ORVFLOW_PREFIX/drive_c, without that variable the folder orvflow/drive_c of the user's data directory),
// "Z:" is "/", and a path that begins with "/" is the host's own. "." and ".." are folded as text, before links are
// followed, and never lead out of a drive. Letter case does not count on "C:". A ":" after the drive's is refused.
#pragma once

#include "platform/CodePage.h"
#include "platform/Directories.h"
#include "platform/Files.h"
#include "platform/Locations.h"
#include "platform/Reasons.h"
#include "platform/Trees.h"
#include "platform/WrittenFiles.h"

namespace OrvWorkFlow::Core::System {

// The calls of one character width.
template <class Char>
struct PlatformOf {
  FilesOf<Char>& files;
  DirectoriesOf<Char>& directories;
  TreesOf<Char>& trees;
  LocationsOf<Char>& locations;
};

// What is referred to must outlive every user of the aggregate.
struct Platform {
  PlatformOf<char> narrow;
  PlatformOf<char16_t> wide;
  OpenFiles& open_files;
  CodePage& code_page;
  Reasons& reasons;
  WrittenFiles& written;

  template <class Char>
  const PlatformOf<Char>& For() const {
    if constexpr (sizeof(Char) == 1) {
      return narrow;
    } else {
      return wide;
    }
  }
};

// The real one; lives as long as the library. It is made at the first call, so that objects of static storage may use
// it.
Platform& SystemPlatform();

}  // namespace OrvWorkFlow::Core::System
