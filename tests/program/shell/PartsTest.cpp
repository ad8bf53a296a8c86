// The program's parts that need no process of their own.
#include <gtest/gtest.h>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/text/Suggestion.h"
#include "orvflow/files/Setting.h"
#include "orvflow/terminal/BoxPrinter.h"
#include "orvflow/terminal/Terminal.h"
#include "tests/program/support/ProgramFixture.h"

namespace OrvWorkFlow::Program {
namespace {

TEST(SuggestionTest, NamesTheClosestKnownNameOrNone) {
  const std::vector<std::string> known = {"run", "inspect", "SourceFolder"};
  EXPECT_EQ(Base::Suggest("rnu", known), "; did you mean run?");
  EXPECT_EQ(Base::Suggest("runn", known), "; did you mean run?");
  EXPECT_EQ(Base::Suggest("inspct", known), "; did you mean inspect?");
  EXPECT_EQ(Base::Suggest("sourcefolder", known), "; did you mean SourceFolder?");
  EXPECT_EQ(Base::Suggest("walk", known), "");
  EXPECT_EQ(Base::Suggest("", known), "");
  EXPECT_EQ(Base::Suggest("run", {}), "");
}

TEST(SuggestionTest, OfEquallyCloseNamesTheFirst) {
  EXPECT_EQ(Base::Suggest("cat", {"car", "bat"}), "; did you mean car?");
}

TEST(BoxPrinterTest, LeavesOutWhatOnlyABoxNeeds) {
  const std::string stops(140, '.');
  EXPECT_EQ(BoxPrinter::TextForLine("Could not load WorkNode : A" + stops), "Could not load WorkNode : A");
  EXPECT_EQ(BoxPrinter::TextForLine("<A, B>::Signal(c) returned false..  Press the OK button to continue." + stops),
            "<A, B>::Signal(c) returned false");
  EXPECT_EQ(BoxPrinter::TextForLine("It threw an exception.  Press OK to continue." + stops), "It threw an exception");
  EXPECT_EQ(BoxPrinter::TextForLine("a file.txt"), "a file.txt");
  EXPECT_EQ(BoxPrinter::TextForLine(""), "");
}

TEST(SettingTextTest, IsCutAtItsFirstEqualsSign) {
  const Setting setting = ParseSetting("/A/B=x=y");
  EXPECT_EQ(setting.path, "/A/B");
  EXPECT_EQ(setting.value, "x=y");
  EXPECT_EQ(ParseSetting("/A=").value, "");
}

TEST(SettingTextTest, RefusesWhatIsNoSetting) {
  for (const char* text : {"", "A=b", "/A", "=x"}) EXPECT_THROW(ParseSetting(text), ProgramError) << text;
}

class HostTest : public orv_test::ProgramFixture {
 protected:
  std::string TextAt(IDictionary& dictionary, const char* path) {
    return Sdk::TextFrom([&](IOrvPString* text) { return dictionary.GetValue(path, text); });
  }
};

TEST_F(HostTest, SettingsKeepTheTypeOfTheirEntry) {
  const Host::WorkflowHost host;
  IDictionary& dictionary = host.dictionary();
  dictionary.SetValue("/Text", "old");
  dictionary.SetValue("/Number", std::int32_t{1});
  dictionary.SetValue("/Fraction", 1.5);
  dictionary.SetValue("/Flag", true);
  ApplySetting(dictionary, {"/Text", "new = newer"}, "f");
  ApplySetting(dictionary, {"/Number", "-42"}, "f");
  ApplySetting(dictionary, {"/Fraction", "2.25"}, "f");
  ApplySetting(dictionary, {"/Flag", "false"}, "f");
  std::int32_t number = 0;
  double fraction = 0;
  bool flag = true;
  EXPECT_EQ(TextAt(dictionary, "/Text"), "new = newer");
  EXPECT_TRUE(dictionary.GetValue("/Number", &number));
  EXPECT_EQ(number, -42);
  EXPECT_TRUE(dictionary.GetValue("/Fraction", &fraction));
  EXPECT_EQ(fraction, 2.25);
  EXPECT_TRUE(dictionary.GetValue("/Flag", &flag));
  EXPECT_FALSE(flag);
}

TEST_F(HostTest, SettingsThatDoNotFitAreRefusedAndChangeNothing) {
  const Host::WorkflowHost host;
  IDictionary& dictionary = host.dictionary();
  dictionary.SetValue("/Number", std::int32_t{1});
  dictionary.SetValue("/Flag", true);
  const Sdk::TextListHolder list;
  dictionary.SetValue("/List", list.get());
  for (const Setting& setting : std::vector<Setting>{{"/Number", "1.5"},
                                                     {"/Number", "4294967296"},
                                                     {"/Number", ""},
                                                     {"/Flag", "maybe"},
                                                     {"/List", "a"},
                                                     {"/Missing", "a"},
                                                     {"/", "a"}}) {
    EXPECT_THROW(ApplySetting(dictionary, setting, "f"), ProgramError) << setting.path << "=" << setting.value;
  }
  std::int32_t number = 0;
  EXPECT_TRUE(dictionary.GetValue("/Number", &number));
  EXPECT_EQ(number, 1);
  EXPECT_FALSE(dictionary.Exists("/Missing"));
}

TEST_F(HostTest, TheExamplesFlowFileIsInTheFormThatASaveGivesIt) {
  const std::string file = CopyExample();
  const std::string written = orv_test::ReadFile(file);
  const Host::WorkflowHost host;
  ASSERT_TRUE(host.dictionary().LoadFile(file.c_str()));
  ASSERT_TRUE(host.dictionary().SaveFile(file.c_str()));
  EXPECT_EQ(orv_test::ReadFile(file), written);
}

}  // namespace
}  // namespace OrvWorkFlow::Program
