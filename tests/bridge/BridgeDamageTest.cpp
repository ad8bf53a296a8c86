// A sender's state that has been damaged: the run says so, and goes on when a whole one is there.
#include <gmock/gmock.h>

#include "tests/bridge/BridgeRuns.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class BridgeDamageTest : public BridgeRuns {
 protected:
  // A sender that was stopped has something to send in its state.
  void SetUp() override {
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    WriteFlow("south.xml", transport);
    WriteFlow("north.xml", transport);
    state_ = File("south.state.xml");
    Start("south.xml");
    ASSERT_NO_FATAL_FAILURE(WaitForOutbox(5));
    ASSERT_EQ(Stop("south.xml"), 6);
    whole_ = ReadFile(state_);
    ASSERT_THAT(whole_, HasSubstr(kFirst));
  }
  static constexpr char kFirst[] = "<N1 __type=\"Binary\">";

  std::string state_, whole_;
};

TEST_F(BridgeDamageTest, AFileOfZerosAsTheState) {
  const std::string zeros(whole_.size(), '\0');
  WriteFile(state_, zeros);
  for (const char* verb : {"run", "bridge"}) {
    const ProcessResult result = Run({verb, File("south.xml")});
    EXPECT_EQ(result.exit_code, 5) << result.output << result.error;
    EXPECT_THAT(result.error, HasSubstr("a zero byte")) << verb;
  }
  EXPECT_EQ(ReadFile(state_), zeros);
  WriteFile(state_, whole_);
  ExpectAllDelivered();
}

// Nothing is sent around it, and what comes fails with the reason and is kept.
TEST_F(BridgeDamageTest, AnOutboxThatCannotBeRead) {
  ASSERT_THAT(whole_, HasSubstr("<N5 __type=\"Binary\">"));
  std::string damaged = whole_;
  Replace(damaged, kFirst, "<N1 __type=\"str\">");
  WriteFile(state_, damaged);
  const ProcessResult result = Run({"run", File("south.xml")});
  EXPECT_EQ(result.exit_code, 1) << result.output << result.error;
  EXPECT_THAT(result.error, HasSubstr("cannot read /BridgeOut/North/Outbox/N1"));
  EXPECT_THAT(ReadFile(state_), HasSubstr("<N1 __type=\"str\">"));
  // Beside the one that cannot be read all are there.
  EXPECT_THAT(ReadFile(state_), HasSubstr("<N5 __type=\"Binary\">"));
  WriteFile(state_, whole_);
  ExpectAllDelivered();
}

}  // namespace
}  // namespace orv_test
