// Output signals that nothing took: what of them the user should know.
//
// Most are meant so: a node fires more than a workflow needs. So nothing is said of a node that maps no signal at all,
// and of a signal whose key stands empty below "maps". Of another one it is said that nothing took it. It is a failure
// when the node told of one ("failed"), or when a mapping is there that must have been meant for it: of a name one
// letter apart that the node never fired.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {

struct UntakenSignal {
  std::string text;
  bool is_failure = false;
};

// `dictionary` is the workflow's.
std::vector<UntakenSignal> FindUntakenSignals(IDictionary& dictionary, RunTally& record);

}  // namespace OrvWorkFlow::Program
