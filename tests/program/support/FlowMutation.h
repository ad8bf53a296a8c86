// One random mistake in the text of a workflow's file, such as people make them.
#pragma once

#include <random>
#include <string>

namespace orv_test {

struct FlowMutant {
  std::string text;
  std::string mistake;  // what was done, for messages
};

// Changes a name, a type, a value, the parts of a mapping, or takes an entry out or writes it twice, all within
// <WorkFlowEngine>. Paths in values keep their "$" and their separators, so none leads out of its workflow's folder.
FlowMutant MutateFlow(const std::string& text, std::mt19937& random);

}  // namespace orv_test
