// Locks and pages under names that a code page may lack.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/state/FileLock.h"
#include "host/state/MappedPage.h"
#include "orvflow/files/FileIdentity.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Program {
namespace {

namespace fs = std::filesystem;

class WideNamesTest : public ::testing::Test {
 protected:
  // "κόσμε" in UTF-8, as the command line has it.
  static constexpr char kName[] = "\xCE\xBA\xCF\x8C\xCF\x83\xCE\xBC\xCE\xB5";

  std::string file() const { return directory_.file(kName); }
  // The one file of its folder: not every system's stat finds such a name.
  bool Exists() const { return !fs::is_empty(directory_.path()); }

  orv_test::TempDirectory directory_;
};

TEST_F(WideNamesTest, ALock) {
  {
    const Host::FileLock lock(file());
    EXPECT_EQ(lock.outcome(), Host::FileLock::Outcome::Held) << lock.reason();
    EXPECT_TRUE(Exists());
    EXPECT_EQ(Host::FileLock(file()).outcome(), Host::FileLock::Outcome::InUse);
  }
  EXPECT_FALSE(Exists());
}

TEST_F(WideNamesTest, APage) {
  Host::MappedPage page(file());
  EXPECT_NE(page.data(), nullptr);
  EXPECT_TRUE(Exists());
  EXPECT_NE(IdentityOfFile(file()), "");
  page.Remove();
  EXPECT_FALSE(Exists());
}

}  // namespace
}  // namespace OrvWorkFlow::Program
