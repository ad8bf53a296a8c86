// The utility object "Logger" that a host supplies.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// Any thread. Called with locks of the library held: it must not call back into the engine or the mediator, and its
// speed bounds the speed of signals.
class ILogger : public IBaseWorkFlowObject {
 public:
  // The category of lines that are logged without one.
  virtual void SetDefaultCategory(const char* category) = 0;

  // One line: a category such as "/workflow/signalpump" and a printf-style text with its values.
  virtual void Log(const char* category, const char* format, ...) ORV_PRINTF_LIKE(3, 4) = 0;

 protected:
  ~ILogger() = default;
};

}  // namespace OrvWorkFlow
