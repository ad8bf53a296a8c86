// Runs with a record, which the verbs that look back read.
#pragma once

#include <string>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {

class RecordedRunFixture : public ProgramFixture {
 protected:
  std::string Record() const { return File("run.record"); }

  ProcessResult RunRecorded(const std::string& flow, const Arguments& more = {}) const {
    Arguments arguments = {"run", flow, "--record", Record()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

}  // namespace orv_test
