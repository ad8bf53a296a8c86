// The host's object factory (part of `wffDDR`): knows every creator in the process, keeps the global objects, loads
// plug-in libraries.
//
// A library registers a type by constructing a WorkFlowFactory with its creator in static storage:
//
//   static OrvWorkFlow::WorkFlowFactory registration(new (std::nothrow) MyNodeCreator);
//
// The registration ends, and the creator is destroyed, when that object is destroyed at the library's unload.
#pragma once

#include "OrvWorkFlow/Export.h"
#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/IWorkNode.h"

namespace OrvWorkFlow {

// All static operations: any thread. None holds a lock of the factory while a creator or an object runs.
class ORV_RUNTIME_API WorkFlowFactory {
 public:
  // Takes the creator and registers it. A null creator is accepted and registers nothing. Of two creators with one name
  // the first registered wins until it leaves.
  explicit WorkFlowFactory(IFactoryObjectCreator* creator) noexcept;

  // Takes the creator out of the registry and destroys it. Objects that it made live on: the host releases them before
  // it unloads the library that holds their code.
  ~WorkFlowFactory();

  WorkFlowFactory(const WorkFlowFactory&) = delete;
  WorkFlowFactory& operator=(const WorkFlowFactory&) = delete;

  // A new object of the type, owned by the caller; null when no creator has that name. Never a work node.
  // What the creator throws passes through, here and in CreateNewGlobalObject.
  static IBaseWorkFlowObject* CreateNewObject(const char* name);

  // The global object of that name; made, kept and owned by the factory when there is none yet. Null when no creator
  // has that name. The factory does not configure what it makes: giving a global object its utility store is the host's
  // work.
  static IBaseWorkFlowObject* CreateNewGlobalObject(const char* name);

  // The global object of that name if it has been made, else null. Never makes one. Not owned by the caller.
  static IBaseWorkFlowObject* GetGlobalObj(const char* name);

  // A number that changes whenever a global object comes or goes, for callers that keep what GetGlobalObj answered,
  // null included. Never 0; costs no lock.
  static std::uint64_t GetGlobalsChangeCount() noexcept;

  // True when a creator (of something else than work nodes) or a global object has that name.
  static bool IsObjectPresent(const char* name);

  // True when a creator of work nodes has that name.
  static bool IsWorkNodePresent(const char* type_name);

  // A new work node of the type, given its instance name by IWorkNode::Initialise (a null name is passed on as ""),
  // owned by the caller, who ends it with Release. Null when no such creator is known, it makes nothing, what it makes
  // is not an "IWorkNode", or the node's Initialise answers false. What a node throws while it is made passes through,
  // the node having been released.
  static IWorkNode* CreateNewWorkNode(const char* type_name, const char* instance_name);

  // Loads a plug-in library, whose static objects register its types; true when it is loaded now, also when it was
  // before. "NAME" without a directory and "/workflow/bin/NAME" mean the plug-in directories (see PluginLoader.h in
  // the runtime), never the system's search path; any other path is taken as it stands. A missing platform ending
  // (".dll", ".so") and the "lib" prefix of Linux are supplied: "BackupNodes", "BackupNodes.dll" name the same library
  // on both platforms. Libraries stay loaded until UnloadSharedLibraries.
  static bool LoadSharedLibrary(const char* path);

  // Replaces the content of `names` by the names of all creators in registration order, work nodes included.
  static bool GetObjectTypeNames(IOrvPStringList* names);

  // --- The host's side -------------------------------------------------------------------------------------------

  // Makes `object` the global object of that name. With `take_ownership` the factory releases it when globals are
  // released; otherwise its maker does, after ReleaseGlobalObjects. False when the name is taken or an argument is
  // null.
  static bool AddGlobalObject(const char* name, IBaseWorkFlowObject* object, bool take_ownership);

  // Forgets all global objects, the last made first, releasing those that the factory owns. The workflow must have
  // stopped.
  static void ReleaseGlobalObjects();

  // Unloads the libraries that LoadSharedLibrary loaded, the last loaded first. No object or thread of theirs may be
  // left.
  static void UnloadSharedLibraries();

  // A clone (owned by the caller) of the creator with that name, for a utility store; null when there is none.
  static IFactoryObjectCreator* CloneCreator(const char* name);

  // Told of every creator that registers (true) or leaves (false), on the thread that does it: what a library brings,
  // for a host that wants to show it. One observer; null ends it. It must not call the factory.
  using RegistrationObserver = void (*)(const char* name, bool registered, void* context);
  static void SetRegistrationObserver(RegistrationObserver observer, void* context);

  // Why the last LoadSharedLibrary of this thread failed, in one line ("" when it did not): file and system's reason.
  static const char* LastLoadError();

 private:
  IFactoryObjectCreator* creator_;
};

}  // namespace OrvWorkFlow
