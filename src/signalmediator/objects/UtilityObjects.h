// Small steps that loading and absorbing share: paths of definitions, libraries, global objects.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IUtilityStore.h"

namespace OrvWorkFlow::Core::Mediator {

// `parent` is the entry of the global or of the local utility objects.
std::string UtilityObjectPath(const char* parent, const std::string& name);
std::string WorkNodeTypePath(const std::string& type);

// Loads the library that the definition names. A failure is not reported: objects that the host or the core library
// brings have no library of their own.
void LoadUtilityLibrary(IDictionary& dictionary, const std::string& definition);

// The factory's global object of that name, made when there is none yet; null when the factory does not know the name
// or the object's creator throws.
IBaseWorkFlowObject* GetOrMakeGlobalObject(const std::string& name) noexcept;

// Null objects and stores are passed over, and so is what the object answers: one that has a store already may refuse.
void GiveUtilityStore(IBaseWorkFlowObject* object, IUtilityStore* store) noexcept;

}  // namespace OrvWorkFlow::Core::Mediator
