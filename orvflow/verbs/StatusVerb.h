// orvflow status: how the run of a workflow stands.
#pragma once

#include <memory>

#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

std::unique_ptr<Verb> MakeStatusVerb(CLI::App& program);

}  // namespace OrvWorkFlow::Program
