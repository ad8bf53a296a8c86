// Gives the test program a drive C: of its own, instead of the user's.
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "tests/support/TempDirectory.h"

namespace {

class DriveC : public ::testing::Environment {
 public:
  void SetUp() override {
    prefix_.emplace();
    ::setenv("ORVFLOW_PREFIX", prefix_->path().c_str(), 1);
  }
  void TearDown() override {
    ::unsetenv("ORVFLOW_PREFIX");
    prefix_.reset();
  }

 private:
  std::optional<orv_test::TempDirectory> prefix_;
};

const auto* const drive_c = ::testing::AddGlobalTestEnvironment(new DriveC);

}  // namespace
