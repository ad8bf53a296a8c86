// The protocol that every object shares: the library's own objects, the host's objects and the work nodes.
//
// Conventions of all interfaces in this folder:
// - The order of the operations is the order of the table; additions come last.
// - No interface has a virtual destructor, which would take a place in the table: an object is destroyed by its
//   `Release`.
// - Narrow texts are zero-terminated and in the platform's code page (UTF-8 on Linux).
// - Wide texts are zero-terminated 16-bit units.
// - A text passed in is only read during the call.
// - Operations report failure by false, null or 0. Nothing throws across an interface, with one exception:
//   work nodes, utility objects and marshalled objects of a host may throw, which each place says, and the library
//   catches it.
// - A null argument fails and changes nothing, unless the operation says otherwise.
// - Threads: "any thread" = may be called from several threads at once; "one thread at a time" = the caller serialises.
#pragma once

#include "OrvWorkFlow/Export.h"
#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow {

class IUtilityStore;

class IBaseWorkFlowObject {
 public:
  // The object seen as the interface of exactly that name (byte for byte), else null. The pointer is the asked-for
  // interface's own (cast it to that interface and nothing else); it lives as long as the object and is not counted.
  // Never touches the last error. Any thread.
  virtual void* QueryInterface(const char* interface_name) = 0;

  // Assigns the version key "TAVIROVERSION". False when `version` is null or refuses.
  virtual bool GetVersion(IOrvPString* version) = 0;

  // Assigns the text of the last failure ("" when there was none) and returns true. An object that keeps no such text
  // returns false and assigns nothing. A success never clears the text.
  virtual bool GetLastErrorText(IOrvPString* text) = 0;

  // Forgets the directories that AddContentDirectory gave.
  virtual void ResetContentDirectories() = 0;

  // Adds a directory (a workflow path or a platform path) in which the object looks for its files; order matters.
  virtual void AddContentDirectory(const char* directory) = 0;

  // Sets the directory (a workflow path or a platform path) in which the object writes.
  virtual void SetWriteDirectory(const char* directory) = 0;

  // Loads the object's state; null or empty means the object's own place. Objects without state answer false unless
  // their interface says otherwise.
  virtual bool LoadState(const char* path) = 0;

  // Reserved. Every object of this library answers false and does nothing.
  virtual bool ReservedLoad(const char* argument) = 0;

  // Saves the object's state; null or empty means the object's own place.
  virtual bool SaveState(const char* path) = 0;

  // Reserved. Every object of this library answers false and does nothing.
  virtual bool ReservedSave(const char* argument) = 0;

  // Sets the key for enciphered content; null empties it. The object keeps a copy.
  virtual void SetEncryptionKey(const char* key) = 0;

  // Assigns the name of the object's type, for example "SignalMediator".
  virtual bool GetTypeName(IOrvPString* name) = 0;

  // Gives the object the store through which it finds other objects. The object keeps the pointer and does not own it;
  // the store must outlive it. Objects differ in what they answer to a second store: see their interfaces.
  virtual bool SetUtilityStore(IUtilityStore* store) = 0;

  // Replaces the content of `names` by the names of the global utility objects that the object needs.
  virtual bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) = 0;

  // Replaces the content of `names` by the names of the local utility objects that the object needs.
  virtual bool GetNeededLocalUtilityObjects(IOrvPStringList* names) = 0;

  // Destroys the object. No call may be running on it, and none may follow.
  virtual void Release() = 0;

 protected:
  IBaseWorkFlowObject() = default;
  IBaseWorkFlowObject(const IBaseWorkFlowObject&) = default;
  IBaseWorkFlowObject& operator=(const IBaseWorkFlowObject&) = default;
  ~IBaseWorkFlowObject() = default;
};

}  // namespace OrvWorkFlow
