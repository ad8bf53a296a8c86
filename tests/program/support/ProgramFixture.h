// Tests of the program: runs it on flow files in a directory of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/program/support/ChildProcess.h"

namespace orv_test {

using Arguments = std::vector<std::string>;

// One work node of a flow file: its type, instance, library, and mappings "signal=type,instance,signal".
struct FlowNode {
  std::string type;
  std::string instance;
  std::string binary = "ProgramNodes";
  std::vector<std::string> maps = {};
};

class ProgramFixture : public ::testing::Test {
 protected:
  static ProcessResult Run(const Arguments& arguments, std::string_view input = {}) {
    return RunProcess(ORVFLOW_PROGRAM, arguments, input);
  }

  std::string File(const std::string& name) const { return directory_.file(name); }

  // Writes a flow file and answers its path. `start` is "type,instance,signal".
  std::string WriteFlow(const std::vector<FlowNode>& nodes, const std::string& start) const;

  // The example's flow file in the test's directory.
  std::string CopyExample() const;

  TempDirectory directory_;
};

}  // namespace orv_test
