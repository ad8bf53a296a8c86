// A process that is killed takes the programs along that its nodes run.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "nodes/process/ChildProgram.h"
#include "tests/support/ForkAlone_posix.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Nodes {
namespace {

using namespace std::chrono_literals;

TEST(ChildProgramTest, EndsWithTheProcessThatMadeItHoweverThatEnds) {
  const orv_test::TempDirectory directory;
  const std::string beat = directory.file("beat");
  const pid_t process = orv_test::ForkAlone();
  if (process == 0) {
    const std::unique_ptr<ChildProgram> program = ChildProgram::Start({PROGRAM_HELPER, {"both", beat}, "", {}});
    for (;;) pause();
  }
  ASSERT_GT(process, 0);
  const auto size = [&] {
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(beat, error);
    return error ? 0 : bytes;
  };
  const auto limit = std::chrono::steady_clock::now() + 30s;
  while (size() == 0 && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(5ms);
  EXPECT_GT(size(), 0u);
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
  std::this_thread::sleep_for(200ms);
  const std::uintmax_t last = size();
  std::this_thread::sleep_for(400ms);
  EXPECT_EQ(size(), last);
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
