// What a platform's half implements. Users want Platform.h.
#pragma once

#include "platform/Platform.h"

namespace OrvWorkFlow::Core::System::SystemParts {

// Each is the one object of its kind, without state.
template <class Char>
FilesOf<Char>& Files();
template <class Char>
DirectoriesOf<Char>& Directories();
template <class Char>
TreesOf<Char>& Trees();
template <class Char>
LocationsOf<Char>& Locations();
OpenFiles& Handles();
CodePage& TheCodePage();
Reasons& TheReasons();
WrittenFiles& Written();

// The halves instantiate them.
extern template FilesOf<char>& Files<char>();
extern template FilesOf<char16_t>& Files<char16_t>();
extern template DirectoriesOf<char>& Directories<char>();
extern template DirectoriesOf<char16_t>& Directories<char16_t>();
extern template TreesOf<char>& Trees<char>();
extern template TreesOf<char16_t>& Trees<char16_t>();
extern template LocationsOf<char>& Locations<char>();
extern template LocationsOf<char16_t>& Locations<char16_t>();

}  // namespace OrvWorkFlow::Core::System::SystemParts
