// Gives an object what its definition in a dictionary says: directories, key, configuration file. One routine for work
// nodes, utility objects and the host application.
#pragma once

#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Mediator {

enum class Configuring {
  DirectoriesOnly,  // global utility objects of a load, and the host application
  WithKeyAndState,  // work nodes, and utility objects that are absorbed
};

// `definition` is the dictionary path of the object's entry. What the object throws is shown in a box and ends the
// routine; the object is used all the same. A configuration file that does not load is tried four times, 500 ms apart.
void ConfigureWorkNodeObject(IDictionary& dictionary, IBaseWorkFlowObject& object, const std::string& definition,
                             Configuring configuring) noexcept;

}  // namespace OrvWorkFlow::Core::Mediator
