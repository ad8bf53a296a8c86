#include "orvflow/StandardStreams.h"

namespace OrvWorkFlow::Program {

void UseBinaryStreams() {}

}  // namespace OrvWorkFlow::Program
