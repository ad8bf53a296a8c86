// The exit codes for what a host could not do.
#pragma once

#include "OrvWorkFlow/host/HostError.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

inline ExitCode CodeOf(Host::HostError::Kind kind) {
  switch (kind) {
    case Host::HostError::Kind::Failed:
      return ExitCode::Failed;
    case Host::HostError::Kind::Misplaced:
      return ExitCode::Usage;
    case Host::HostError::Kind::PluginBroken:
      return ExitCode::PluginBroken;
    case Host::HostError::Kind::Damaged:
      return ExitCode::DictionaryDamaged;
    case Host::HostError::Kind::InUse:
      return ExitCode::InUse;
  }
  return ExitCode::Failed;
}

}  // namespace OrvWorkFlow::Program
