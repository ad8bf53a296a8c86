// Names of archives that are none here, or the same as others.
#include <gtest/gtest.h>

#include "tests/tasks/TarBytes.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

class ArchiveWindowsTest : public TaskFixture {
 protected:
  std::string Extract(const std::string& bytes) {
    Write("bad", bytes + kTarEnd);
    Make("ArchiveNodes", "ArchiveExtractor").SetParameter("Archive", File("bad"));
    bench_->SetParameter("Target", File("out"));
    MapFailed();
    if (Do("extract") == Signals{"extracted"}) return "extracted";
    EXPECT_FALSE(Exists("out"));
    EXPECT_FALSE(Exists("out.part"));
    return Problem();
  }
};

TEST_F(ArchiveWindowsTest, NamesThatAreNoneAreRefused) {
  for (const std::string name :
       {"NUL", "a/con.txt", "com1", "LPT9.x", "aux ", "end.", "end ", "a*b", "a?b", "a<b", "a|b", "a\"b",
        "a\x01"
        "b",
        "CONOUT$"}) {
    EXPECT_TRUE(Extract(TarFile("first", "1") + TarFile(name, "1")).ends_with(": no path can hold this name")) << name;
  }
  EXPECT_EQ(Extract(TarFile("nullify", "1") + TarFile("com", "1") + TarFile("com10", "1")), "extracted") << Problem();
}

TEST_F(ArchiveWindowsTest, NamesThatDifferInTheirCaseAloneAreRefused) {
  const std::string part = File("out.part");
  EXPECT_EQ(Extract(TarFile("a", "1") + TarFile("A", "2")),
            "cannot write " + part + "/A" + ": another entry has that name here");
  EXPECT_EQ(Extract(TarFile("Up/a", "1") + TarFile("up/b", "2")),
            "cannot make the folder " + part + "/up" + ": another one has that name here");
}

}  // namespace
}  // namespace orv_test
