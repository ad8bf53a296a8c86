// orvflow run --set: values for one run.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class SettingTest : public ProgramFixture {
 protected:
  // A workflow that stops at once, with its dictionary in the state.
  ProcessResult RunWith(const std::string& setting) { return Run({"run", flow_, "--fresh", "--set", setting}); }
  std::string Get(const std::string& path) { return Run({"dict", "get", File("flow.state.xml"), path}).output; }
  std::string Type(const std::string& path) { return Run({"dict", "type", File("flow.state.xml"), path}).output; }

  const std::string flow_ = WriteFlow(
      {{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}}, {"CountingNode", "A"}}, "Restarter,R,restart");
};

TEST_F(SettingTest, WithATagAddsAnEntryOrChangesItsType) {
  const struct {
    std::string setting;
    std::string path;
    std::string type;
    std::string value;
  } cases[] = {{"/New/Number:int=-5", "/New/Number", "int\n", "-5\n"},
               {"/New/Text:str=a:b=c", "/New/Text", "str\n", "a:b=c\n"},
               {"/New/Flag:Bool=true", "/New/Flag", "Bool\n", "1\n"},
               {"/New/Empty:str=", "/New/Empty", "str\n", "\n"},
               {"/WorkFlowEngine/WorkFlowName:str=Test", "/WorkFlowEngine/WorkFlowName", "str\n", "Test\n"}};
  for (const auto& [setting, path, type, value] : cases) {
    const ProcessResult result = RunWith(setting);
    EXPECT_EQ(result.exit_code, 6) << result.error;
    EXPECT_EQ(Type(path), type);
    EXPECT_EQ(Get(path), value);
  }
}

TEST_F(SettingTest, WithoutOneSaysHowToAddAnEntry) {
  const std::string begin = "orvflow: " + flow_ + ": ";
  EXPECT_EQ(
      RunWith("/Nothing/Like/It=5").error,
      begin + "/Nothing/Like/It: no value to set there; /Nothing/Like/It:str=VALUE (or int, dbl, Bool) adds one\n");
  EXPECT_EQ(RunWith("/New:int=x").error, begin + "/New: \"x\" is no whole number of 32 bits\n");
  EXPECT_EQ(RunWith("/New:itn=1").error, begin + "/New: no type itn; did you mean int?\n");
  EXPECT_EQ(RunWith("/a b:int=1").error, begin + "/a b: no path; its parts hold letters, digits, _ and - only\n");
}

}  // namespace
}  // namespace orv_test
