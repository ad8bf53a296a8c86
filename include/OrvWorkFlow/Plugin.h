// What makes a shared library a plug-in of this runtime: it says for which version of the contract it was built.
//
// A plug-in writes, once, in one of its source files, outside of every namespace and behind its includes:
//
//   ORV_WORKFLOW_PLUGIN()
//
// and registers its types by static WorkFlowFactory objects (WorkFlowFactory.h). WorkFlowFactory::LoadSharedLibrary
// refuses a library that does not say its version, or another one, and unloads it before any of its types can be used.
#pragma once

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow {

// Raised with every change of an interface of this folder that an older plug-in or host could not live with.
inline constexpr unsigned kPluginContractVersion = 1;

// The function that ORV_WORKFLOW_PLUGIN defines, and the name under which the library exports it.
using PluginVersionFunction = unsigned (*)();
inline constexpr const char* kPluginVersionSymbol = "OrvWorkFlowPluginVersion";

}  // namespace OrvWorkFlow

#define ORV_WORKFLOW_PLUGIN()                                                                               \
  extern "C" ORV_EXPORT unsigned OrvWorkFlowPluginVersion();                                                \
  extern "C" ORV_EXPORT unsigned OrvWorkFlowPluginVersion() { return OrvWorkFlow::kPluginContractVersion; } \
  static_assert(true, "lets the macro be followed by a semicolon")
