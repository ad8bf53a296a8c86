// The seven names with which a workflow path may begin, and where they lead.
#pragma once

#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace OrvWorkFlow::Core::FileSystem {

enum class LocationMacro { Temp, Permanent, HostExec, WinDir, WinSysDir, ProgramFiles, WinTemp };

struct MacroName {
  std::u16string_view text;
  LocationMacro macro;
};

// In the order in which they are tested. "$TEMP" is the folder Temp of the Windows directory, "$WINTEMP" that of the
// user, and "$PERMANENT" the Windows directory itself.
inline constexpr MacroName kMacroNames[] = {
    {u"$TEMP", LocationMacro::Temp},           {u"$PERMANENT", LocationMacro::Permanent},
    {u"$HOSTEXEC", LocationMacro::HostExec},   {u"$WINDIR", LocationMacro::WinDir},
    {u"$WINSYSDIR", LocationMacro::WinSysDir}, {u"$PROGRAMFILES", LocationMacro::ProgramFiles},
    {u"$WINTEMP", LocationMacro::WinTemp},
};

// The last name of the table with which the path begins (no separator need follow it); null when there is none.
const MacroName* FindMacro(std::u16string_view path);

// Asks the system anew at every call, in narrow characters when the wide query fails. Empty when both fail.
std::u16string MacroValue(const System::Platform& platform, LocationMacro macro);

// The path with its macro replaced by the value, in backslashes; empty when the path begins with no macro.
std::u16string ExpandMacro(const System::Platform& platform, std::u16string_view path);

}  // namespace OrvWorkFlow::Core::FileSystem
