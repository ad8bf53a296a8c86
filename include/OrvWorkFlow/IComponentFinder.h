// What the work node type "FindNewComponentsFromAbsorbedFlow" answers to besides "IWorkNode".
//
// When a workflow is absorbed for the first time the engine makes one node of that type (loading its library
// "/workflow/bin/Component.DDR.dll" if nobody has registered the type), asks it once and releases it. It is given the
// instance name "" and nothing else: no directories, no signal handler. Without such a type nothing is searched.
#pragma once

#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow {

// "IComponentFinder"
class IComponentFinder {
 public:
  // Looks into the absorbed workflow's dictionary file for components that are new, and adds their names. On the thread
  // that absorbs. The answer and what it throws change nothing for the workflow.
  virtual bool FindNewComponents(const char* flow_file_path, IOrvPStringList* components) = 0;

 protected:
  ~IComponentFinder() = default;
};

}  // namespace OrvWorkFlow
