// A node ends the run: its exit code, what is said, and what is left.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class RunEndTest : public ProgramFixture {
 protected:
  // A timer that ticks for ten minutes, and an end at the first tick.
  std::string WriteEndingFlow(const std::string& code) const {
    const std::string parameters =
        "<Parameters><Code __type=\"int\">" + code + "</Code><Text __type=\"str\">no orders today</Text></Parameters>";
    const std::string flow = File("flow.xml");
    WriteFile(flow,
              R"(<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type="str">Test</WorkFlowName>
<AbsorbTree><node0 __type="str">Test</node0></AbsorbTree><Mappings><StartSignal>
<ReceiverTypeName __type="str">Timer</ReceiverTypeName><ReceiverInstanceName __type="str">Clock</ReceiverInstanceName>
<IncomingSignalName __type="str">start</IncomingSignalName></StartSignal></Mappings><WorkNodes>
<Timer><Binaries><win32_bin __type="str">FlowNodes</win32_bin></Binaries><Instances><Clock><Parameters>
<Milliseconds __type="int">20</Milliseconds><Times __type="int">30000</Times></Parameters>
<maps><tick><map0 __type="str">RunEnd,Stop,end</map0></tick><finished/></maps></Clock></Instances></Timer>
<RunEnd><Binaries><win32_bin __type="str">FlowNodes</win32_bin></Binaries><Instances><Stop>)" +
                  parameters +
                  "<maps><refused/></maps></Stop></Instances></RunEnd></WorkNodes></WorkFlowEngine></IDictionaryRoot>");
    return flow;
  }
  bool HasState() const {
    return std::filesystem::exists(File("flow.state.xml")) || std::filesystem::exists(File("flow.state.xml.record"));
  }
};

TEST_F(RunEndTest, WithItsCodeAndItsTextAndNothingIsLeft) {
  const std::string flow = WriteEndingFlow("12");
  const ProcessResult result = Run({"run", flow});
  EXPECT_EQ(result.exit_code, 12);
  EXPECT_THAT(result.error, HasSubstr("flow.xml: ended by RunEnd Stop: no orders today"));
  EXPECT_FALSE(HasState());
  EXPECT_EQ(Run({"run", flow, "--set", "/WorkFlowEngine/WorkNodes/RunEnd/Instances/Stop/Parameters/Code=0"}).exit_code,
            0);
}

TEST_F(RunEndTest, ACodeThatSaysSomethingElseIsAFailure) {
  const ProcessResult result = Run({"run", WriteEndingFlow("6"), "--timeout", "1"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error, HasSubstr("Code is 6: 2 to 9 say something else of a run; take 0, 1, or 10 to 125"));
  const ProcessResult check = Run({"check", WriteEndingFlow("126")});
  EXPECT_THAT(check.output, HasSubstr("is 126; it counts as 125, the most that it can be"));
}

// The process died when the node had spoken and before the run had ended.
TEST_F(RunEndTest, AStateThatWasEndedEndsAtOnce) {
  const std::string flow = WriteEndingFlow("4");
  EXPECT_EQ(Run({"run", flow, "--timeout", "0.2"}).exit_code, 1);
  ASSERT_TRUE(HasState());
  const std::string state = File("flow.state.xml");
  for (const char* const entry : {"/Orvflow/End/By", "/Orvflow/End/Text"}) {
    ASSERT_EQ(Run({"dict", "set", state, entry, "str", "RunEnd Stop"}).exit_code, 0);
  }
  ASSERT_EQ(Run({"dict", "set", state, "/Orvflow/End/Code", "int", "17"}).exit_code, 0);
  const ProcessResult next = Run({"run", flow});
  EXPECT_EQ(next.exit_code, 17) << next.error;
  EXPECT_THAT(next.error, HasSubstr("ended by RunEnd Stop"));
  EXPECT_FALSE(HasState());
}

}  // namespace
}  // namespace orv_test
