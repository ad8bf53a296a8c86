// Writing definitions of utility objects, work nodes and instances into a dictionary.
#pragma once

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow::Core::Mediator {

struct NewLibraries {
  const char* win32_library;
  const char* other_library;
};

struct NewInstance {
  const char* type;
  const char* name;
  const char* configuration_file;
  const IOrvPStringList* read_directories;
  const char* write_directory;
};

// No text is null. False when not all could be written; where a reason is known a box says it.
bool WriteLocalObject(IDictionary& dictionary, const char* name, const NewLibraries& libraries);
bool WriteGlobalObject(IDictionary& dictionary, const char* name, const NewLibraries& libraries,
                       const char* configuration_file);
bool WriteNodeType(IDictionary& dictionary, const char* type, const NewLibraries& libraries);
bool WriteInstance(IDictionary& dictionary, const NewInstance& instance);

}  // namespace OrvWorkFlow::Core::Mediator
