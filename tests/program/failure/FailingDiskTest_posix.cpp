// What a disk or memory that fails once, or from then on, makes of locks and libraries; and what a death in a save
// leaves.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class FailingDiskTest : public FailureFixture {};

TEST_F(FailingDiskTest, ALockThatCannotBeTakenIsNotLeft) {
  const std::string flow = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  for (const char* lasts : {"0", "1"}) {
    const ProcessResult result = RunFailing({{"KIND", "flock"}, {"AT", "1"}, {"LASTS", lasts}}, {"run", flow});
    EXPECT_FALSE(fs::exists(File("flow.state.xml.lock"))) << result.error;
  }
  EXPECT_EQ(Run({"run", flow}).exit_code, 0);
}

TEST_F(FailingDiskTest, ALibraryThatCannotBeReadIsNotCalledTooShort) {
  const std::string count = File("count");
  const Arguments inspect = {"inspect", "FlowNodes"};
  ASSERT_EQ(RunFailing({{"KIND", "read"}, {"COUNT", count}}, inspect).exit_code, 0);
  const long calls = std::atol(ReadFile(count).c_str());
  ASSERT_GT(calls, 1);
  int told = 0;
  for (long failure = 1; failure <= calls; ++failure) {
    const ProcessResult result = RunFailing({{"KIND", "read"}, {"AT", std::to_string(failure)}}, inspect);
    EXPECT_EQ(result.error.find("too short"), std::string::npos) << result.error;
    EXPECT_EQ(result.error.find("cut off"), std::string::npos) << result.error;
    if (result.error.find("cannot be read: Input/output error") != std::string::npos) ++told;
  }
  EXPECT_GT(told, 0);
}

TEST_F(FailingDiskTest, ALibraryThatIsNotLoadedForLackOfMemoryIsNotBroken) {
  const std::string count = File("count");
  const Arguments inspect = {"inspect", "FlowNodes"};
  ASSERT_EQ(RunFailing({{"KIND", "memory"}, {"COUNT", count}}, inspect).exit_code, 0);
  const long calls = std::atol(ReadFile(count).c_str());
  // The library is loaded after the program has read its arguments.
  for (int i = 1; i <= 24; ++i) {
    const std::string failure = std::to_string(calls - i * calls / 100);
    const ProcessResult result = RunFailing({{"KIND", "memory"}, {"AT", failure}}, inspect);
    EXPECT_NE(result.exit_code, 4) << failure << ": " << result.error;
  }
}

class KilledSaveTest : public FailureFixture {
 protected:
  void SetUp() override {
    ASSERT_EQ(Run({"dict", "set", file_, "/a", "int", "1"}).exit_code, 0);
    // When the new file is whole and is to take the old one's place.
    const Arguments set = {"dict", "set", file_, "/a", "int", "2"};
    EXPECT_EQ(RunFailing({{"KIND", "rename"}, {"AT", "1"}, {"KILLS", "1"}}, set).exit_code, 128 + SIGKILL);
    ASSERT_TRUE(fs::exists(leftover_));
    ASSERT_EQ(Run({"dict", "get", file_, "/a"}).output, "1\n");
  }

  const std::string file_ = File("d.xml");
  const std::string leftover_ = File("d.xml.tmp0");
};

TEST_F(KilledSaveTest, TheNextEditClearsWhatWasLeft) {
  EXPECT_EQ(Run({"dict", "set", file_, "/a", "int", "3"}).exit_code, 0);
  EXPECT_FALSE(fs::exists(leftover_));
  EXPECT_EQ(Run({"dict", "get", file_, "/a"}).output, "3\n");
}

// Through a link too, whose own name is not the one that counts.
TEST_F(KilledSaveTest, ItLiesBesideWhatALinkLeadsTo) {
  fs::create_directory(File("folder"));
  fs::create_symlink(file_, File("folder/link.xml"));
  EXPECT_EQ(Run({"dict", "remove", File("folder/link.xml"), "/a"}).exit_code, 0);
  EXPECT_FALSE(fs::exists(leftover_));
}

TEST_F(KilledSaveTest, OtherFilesStay) {
  const std::vector<std::string> others = {"d.xml.tmp",   "d.xml.tmp1.bak", "d.xml.tmp8", "d.xml.tmp12",
                                           "d.xml.tmp1x", "e.xml.tmp0",     "d.xml.tmp1"};
  for (const std::string& name : others) WriteFile(File(name), "somebody's");
  fs::create_hard_link(File("d.xml.tmp1"), File("named twice"));
  fs::create_directory(File("d.xml.tmp2"));
  const int held = open(leftover_.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX | LOCK_NB), 0) << "as a save that is under way";
  EXPECT_EQ(Run({"dict", "set", file_, "/a", "int", "3"}).exit_code, 0);
  close(held);
  for (const std::string& name : others) EXPECT_TRUE(fs::exists(File(name))) << name;
  for (const char* name : {"d.xml.tmp0", "d.xml.tmp2"}) EXPECT_TRUE(fs::exists(File(name))) << name;
}

}  // namespace
}  // namespace orv_test
