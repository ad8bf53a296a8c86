// The node that runs programs, with real ones: they end, fail, hang, leave others behind, flood, or do not exist.
#include "nodes/process/RunProgram.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/process/OutputText.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

using namespace std::chrono_literals;

class RunProgramTest : public NodeFixture {
 protected:
  void SetUp() override {
    NodeFixture::SetUp();
    Map("RunProgram", "failed");
    Map("RunProgram", "timed_out");
  }
  template <class Value>
  void Set(const std::string& name, const Value& value) {
    ASSERT_TRUE(dictionary_->SetValue((kParameters + ("/" + name)).c_str(), value));
  }
  void SetList(const std::string& name, const std::vector<std::string>& texts) {
    Sdk::NodeRecord(*dictionary_, kParameters).SetTexts(name, texts);
  }
  void SetProgram(const std::vector<std::string>& arguments) {
    Set("Program", PROGRAM_HELPER);
    SetList("Arguments", arguments);
  }
  static bool IsBusy(IWorkNode& node) {
    return Sdk::TextFrom([&](IOrvPString* text) { return node.GetProperty("Busy", text); }) == "yes";
  }
  Signals Finish(IWorkNode& node) {
    const auto limit = std::chrono::steady_clock::now() + 60s;
    while (IsBusy(node) && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(IsBusy(node));
    node.StopWork();
    return TakeFired();
  }
  Signals Run(const std::vector<std::string>& arguments) {
    SetProgram(arguments);
    const NodePointer node = Make<RunProgram>();
    EXPECT_TRUE(node->Signal("run"));
    return Finish(*node);
  }
  std::string Text(const char* name) { return Record().Text(name); }
  Sdk::NodeRecord Record() { return Sdk::NodeRecord(*dictionary_, "/RunProgram/Instance"); }

  std::uintmax_t SizeOf(const std::string& name) const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(directory_.path() / name, error);
    return error ? 0 : size;
  }
  void WaitForBeat(const std::string& name) const {
    const auto limit = std::chrono::steady_clock::now() + 30s;
    while (SizeOf(name) == 0 && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(5ms);
    EXPECT_GT(SizeOf(name), 0u) << name;
  }
  // A program that was ended beats no more.
  void ExpectNoBeat(const std::string& name) const {
    std::this_thread::sleep_for(100ms);
    const std::uintmax_t size = SizeOf(name);
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(SizeOf(name), size) << name;
  }

  const std::string kParameters = "/WorkFlowEngine/WorkNodes/RunProgram/Instances/Instance/Parameters";
};

TEST_F(RunProgramTest, ArgumentsArriveAsTheyAre) {
  const std::vector<std::string> words = {"words", "a b", "", "\"q\"", "c:\\x\\", "\\\\\"", "*", "'$HOME'", "50%"};
  EXPECT_EQ(Run(words), Signals{"succeeded"});
  EXPECT_EQ(Text("Output"), "[a b][][\"q\"][c:\\x\\][\\\\\"][*]['$HOME'][50%]");
  EXPECT_EQ(Record().Number("ExitCode", -1), 0);
  EXPECT_EQ(Record().Number("Attempt"), 1);
}

TEST_F(RunProgramTest, ItHasItsFolderAndVariables) {
  std::filesystem::create_directories(directory_.path() / "here");
  Set("Folder", directory_.file("here").c_str());
  SetList("Environment", {"ORV_TEST=a=b", "OTHER="});
  EXPECT_EQ(Run({"folder"}), Signals{"succeeded"});
  EXPECT_EQ(Text("Output"), "here");
  EXPECT_EQ(Run({"variable", "ORV_TEST"}), Signals{"succeeded"});
  EXPECT_EQ(Text("Output"), "a=b");
  EXPECT_EQ(Run({"variable", "PATH"}), Signals{"succeeded"});
  EXPECT_NE(Text("Output"), "none");
}

TEST_F(RunProgramTest, ExitCodesHaveTheirWays) {
  EXPECT_EQ(Run({"exit", "3"}), Signals{"failed"});
  EXPECT_EQ(Text("Problem"), "it has ended with exit code 3");
  SetList("Codes", {"1", "2-5", "0"});
  EXPECT_EQ(Run({"exit", "3"}), Signals{"code2"});
  EXPECT_EQ(Run({"exit", "0"}), Signals{"code3"});
  EXPECT_EQ(Run({"exit", "6"}), Signals{"failed"});
  SetList("Codes", {"some"});
  EXPECT_EQ(Run({"exit", "3"}), Signals{"failed"});
  EXPECT_NE(Text("Problem").find("is no exit code"), std::string::npos) << Text("Problem");
}

TEST_F(RunProgramTest, WhatCannotBeStartedSaysWhy) {
  Set("Program", directory_.file("nothing").c_str());
  NodePointer node = Make<RunProgram>();
  EXPECT_TRUE(node->Signal("run"));
  EXPECT_EQ(Finish(*node), Signals{"failed"});
  EXPECT_NE(Text("Problem").find("nothing cannot be started: "), std::string::npos) << Text("Problem");
  Set("Folder", directory_.file("nowhere").c_str());
  EXPECT_EQ(Run({"words"}), Signals{"failed"});
  EXPECT_FALSE(Text("Problem").empty());
  Set("Program", "");
  node = Make<RunProgram>();
  EXPECT_TRUE(node->Signal("run"));
  EXPECT_EQ(Finish(*node), Signals{"failed"});
  EXPECT_EQ(Text("Problem"), "no program is named");
}

TEST_F(RunProgramTest, AFloodIsKeptInBounds) {
  Set("MostBytes", 1000);
  Set("MostFileKilobytes", 16);
  Set("OutputFile", directory_.file("output").c_str());
  EXPECT_EQ(Run({"flood", "20000000"}), Signals{"succeeded"});
  EXPECT_EQ(Text("Output"), std::string(1000, 'x'));
  EXPECT_GE(Record().Number("Bytes"), 20000000);
  EXPECT_EQ(SizeOf("output"), 16384u);
  Set("OutputFile", directory_.path().string().c_str());
  EXPECT_EQ(Run({"words"}), Signals{"failed"});
}

TEST_F(RunProgramTest, OutputThatIsNoTextIsMadeOne) {
  EXPECT_EQ(Run({"bytes"}), Signals{"succeeded"});
  EXPECT_EQ(Text("Output"), "a??\xC3\xA4z");
  EXPECT_EQ(Run({"error"}), Signals{"failed"});
  EXPECT_EQ(Text("Error"), "wrong\nindeed");
  EXPECT_EQ(Text("Problem"), "it has ended with exit code 4: wrong");
  EXPECT_EQ(AsText("\xE2\x82"), "");
  EXPECT_EQ(AsText("\xED\xA0\x80\xF0\x80\x80\x80\xEF\xBF\xBF"), "??????????");
  EXPECT_EQ(AsText("\xF0\x9F\x98\x80\t\r\n"), "\xF0\x9F\x98\x80\t\r\n");
}

TEST_F(RunProgramTest, AProgramThatHangsIsEndedWithItsChildren) {
  Set("Milliseconds", 300);
  Set("EndMilliseconds", 50);
  EXPECT_EQ(Run({"both", directory_.file("beat")}), Signals{"timed_out"});
  EXPECT_EQ(Text("Problem"), "it took too long");
  ExpectNoBeat("beat");
  ExpectNoBeat("beat2");
}

TEST_F(RunProgramTest, ASignalEndsIt) {
  SetProgram({"both", directory_.file("beat")});
  const NodePointer node = Make<RunProgram>();
  EXPECT_TRUE(node->Signal("run"));
  WaitForBeat("beat");
  EXPECT_FALSE(node->Signal("run")) << "it runs already";
  EXPECT_TRUE(node->Signal("stop"));
  EXPECT_EQ(Finish(*node), Signals{"stopped"});
  ExpectNoBeat("beat");
}

TEST_F(RunProgramTest, WhatItLeavesBehindEndsWithIt) {
  EXPECT_EQ(Run({"leave", directory_.file("beat")}), Signals{"succeeded"});
  ExpectNoBeat("beat");
}

TEST_F(RunProgramTest, ASaveLeavesItAloneAndTheNodesEndDoesNot) {
  SetProgram({"both", directory_.file("beat")});
  NodePointer node = Make<RunProgram>();
  EXPECT_TRUE(node->Signal("run"));
  WaitForBeat("beat");
  EXPECT_TRUE(node->StopWork());
  const std::uintmax_t size = SizeOf("beat2");
  EXPECT_TRUE(node->Signal("resume"));
  const auto limit = std::chrono::steady_clock::now() + 30s;
  while (SizeOf("beat2") == size && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(5ms);
  EXPECT_GT(SizeOf("beat2"), size);
  EXPECT_EQ(Record().Number("Attempt"), 1);
  EXPECT_TRUE(node->StopWork());
  node.reset();
  ExpectNoBeat("beat");

  SetProgram({"exit", "0"});
  node = Make<RunProgram>();
  EXPECT_TRUE(node->Signal("resume"));
  EXPECT_EQ(Finish(*node), Signals{"succeeded"});
  EXPECT_EQ(Record().Number("Attempt"), 2) << "it was started again";
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
