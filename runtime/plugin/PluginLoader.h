// Finds, checks, loads and unloads plug-in libraries; WorkFlowFactory::LoadSharedLibrary in its details.
#pragma once

#include <cstddef>

#include "OrvWorkFlow/Export.h"
#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow::Runtime::PluginLoader {

// Where plug-ins without a directory are looked for, in this order, in place of the directories set before. Null
// directories and empty ones are left out. With none at all the runtime's own are back: those of the running program
// and of the `wffDDR` library, and the folder "orvworkflow" below the latter where an installation has one. Any thread.
ORV_RUNTIME_API void SetPluginDirectories(const char* const* directories, std::size_t count);

// Adds one behind those that are set; the runtime's own count as set until SetPluginDirectories is called.
ORV_RUNTIME_API void AddPluginDirectory(const char* directory);

// Those in which libraries are looked for now, in their order. False when there is not enough memory.
ORV_RUNTIME_API bool GetDirectories(IOrvPStringList* directories) noexcept;

// The file that Load would load, and what Load says of it without loading it. False leaves `file` as it was;
// WorkFlowFactory::LastLoadError then says why.
ORV_RUNTIME_API bool Find(const char* path, IOrvPString* file) noexcept;

// See WorkFlowFactory. Of a path these are understood:
//   NAME, /workflow/bin/NAME   the first plug-in directory that has the file; no ".." may stand in NAME
//   anything else              the file of that path; a relative one counts from the current directory
// Backslashes separate like slashes. In each place these files are tried, `STEM` being the name without ".dll" or
// ".so":
//   Linux      the name if it ends in ".so", libSTEM.so, STEM.so, the name as it stands
//   Windows    the name if it ends in ".dll", STEM.dll, libSTEM.dll, STEM.dll without a "lib" in front, the name if it
//   has an ending
// A file that is there and cannot be loaded is a failure: no other place is tried then. What is no library at all, was
// cut off or should not be trusted is refused before the system's loader sees it (runtime/plugin/LibraryFile.h).
bool Load(const char* path) noexcept;
void UnloadAll() noexcept;
const char* GetLastError() noexcept;
// All that it says of a load that found no memory: the library may be whole.
inline constexpr char kNoMemory[] = "out of memory";

}  // namespace OrvWorkFlow::Runtime::PluginLoader
