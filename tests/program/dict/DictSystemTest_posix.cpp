// orvflow dict when the system does not let it: files in use, without rights, on a full disk, without $TEMP.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class DictSystemTest : public ProgramFixture {
 protected:
  DictSystemTest() { Run({"dict", "set", file_, "/a", "int", "1"}); }

  const std::string file_ = File("d.xml");
};

TEST_F(DictSystemTest, AFileInUseIsWaitedForAndThenNotCalledDamaged) {
  const std::string content = ReadFile(file_);
  const int held = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(held, 0);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  const ProcessResult get = Run({"dict", "get", file_, "/a"});
  EXPECT_EQ(get.exit_code, 7);
  EXPECT_EQ(get.error, "orvflow: " + file_ + ": in use by another process; try again later\n");
  EXPECT_EQ(ReadFile(file_), content);
  std::thread release([held] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    close(held);
  });
  EXPECT_EQ(Run({"dict", "get", file_, "/a"}).output, "1\n");
  release.join();
}

TEST_F(DictSystemTest, WithoutRightsNothingIsCalledDamaged) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser has every right";
  chmod(file_.c_str(), 0);
  const ProcessResult get = Run({"dict", "get", file_, "/a"});
  EXPECT_EQ(get.exit_code, 1);
  EXPECT_NE(get.error.find("permission denied"), std::string::npos) << get.error;
}

TEST_F(DictSystemTest, AnEncipheredFileNeedsNoTemporaryFolder) {
  WriteFile(File("key"), "secret");
  ASSERT_EQ(Run({"dict", "set", file_, "/a", "int", "2", "--key-file", File("key")}).exit_code, 0);
  WriteFile(File("prefix"), "no folder");
  const char* const before = std::getenv("ORVFLOW_PREFIX");
  const std::string kept = before == nullptr ? "" : before;
  setenv("ORVFLOW_PREFIX", File("prefix").c_str(), 1);
  const ProcessResult get = Run({"dict", "get", file_, "/a", "--key-file", File("key")});
  if (before == nullptr) {
    unsetenv("ORVFLOW_PREFIX");
  } else {
    setenv("ORVFLOW_PREFIX", kept.c_str(), 1);
  }
  EXPECT_EQ(get.output, "2\n") << get.error;
}

}  // namespace
}  // namespace orv_test
