// The utility object "RegExp". Base protocol only: its match operations are declared when they are built.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// Loading and saving state succeed and do nothing; the type name is "IRegExp".
class IRegExp : public IBaseWorkFlowObject {
 protected:
  ~IRegExp() = default;
};

}  // namespace OrvWorkFlow
