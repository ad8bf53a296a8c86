// The bench for one node, with ready-made nodes on it and one of the test's own.
#include "OrvWorkFlow/sdk/NodeBench.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Nodes {
namespace {

using Lines = std::vector<std::string>;

// Does what a test asks it for.
class BenchedNode final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "BenchedNode";
  BenchedNode() : WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override {
    IDictionary& dictionary = WorkflowDictionary();
    if (signal == "throw") throw std::runtime_error("as it was told");
    if (signal == "tell") TellUser("nothing special");
    if (signal == "list") {
      const Sdk::TextListHolder list;
      list->Add("a", 1);
      list->Add("b", 1);
      dictionary.SetValue("/Benched/List", list.get());
    }
    if (signal == "remove") dictionary.Delete("/Benched/Text");
    if (signal == "write") dictionary.SetValue("/Benched/Text", "written");
    if (signal == "refuse") return false;
    FireOutput(std::string(signal).c_str());
    return true;
  }
};

class NodeBenchTest : public ::testing::Test {
 protected:
  WorkFlowFactory registration_{new (std::nothrow) Sdk::NodeCreator<BenchedNode>};
};

TEST_F(NodeBenchTest, WhatIsFiredAndAnsweredIsSeen) {
  Sdk::NodeBench bench("", "BenchedNode");
  EXPECT_EQ(bench.node(), nullptr) << "made at its first signal";
  EXPECT_TRUE(bench.Signal("one"));
  EXPECT_TRUE(bench.Signal("two"));
  EXPECT_FALSE(bench.Signal("refuse"));
  EXPECT_EQ(bench.TakeFired(), (Lines{"one", "two"}));
  EXPECT_EQ(bench.TakeFired(), Lines{});
  EXPECT_THROW(bench.Signal("throw"), std::runtime_error);
  EXPECT_TRUE(bench.Signal("tell"));
  EXPECT_EQ(bench.TakeMessages(), Lines{"BenchedNode Bench: nothing special"});
}

TEST_F(NodeBenchTest, WhatTheNodeWroteIsSeenAndNotWhatItWasGiven) {
  Sdk::NodeBench bench("", "BenchedNode");
  bench.SetParameter("File", "x");
  bench.Set("Benched//Number/", 3);
  bench.Set("/Benched/Text", "given");
  EXPECT_EQ(bench.TakeWritten(), Lines{});
  bench.Signal("list");
  bench.Signal("write");
  EXPECT_EQ(bench.TakeWritten(), (Lines{"/Benched/List:strlist=a,b", "/Benched/Text:str=written"}));
  bench.Signal("write");
  EXPECT_EQ(bench.TakeWritten(), Lines{}) << "the same again";
  bench.Signal("remove");
  EXPECT_EQ(bench.TakeWritten(), Lines{"/Benched/Text removed"});
  EXPECT_EQ(bench.TextAt("/Benched/List"), "a,b");
  EXPECT_EQ(bench.TextAt("/Benched/Text"), "");
  EXPECT_THROW(bench.Set("/not a path", "x"), std::runtime_error);
}

TEST_F(NodeBenchTest, AKillLeavesTheSavedStateAlone) {
  Sdk::NodeBench bench("", "BenchedNode");
  bench.Signal("list");
  const std::string saved = bench.SaveState();
  bench.Signal("write");
  bench.Kill();
  EXPECT_EQ(bench.node(), nullptr);
  EXPECT_EQ(bench.TextAt("/Benched/Text"), "written");
  bench.Kill(saved);
  EXPECT_EQ(bench.TextAt("/Benched/Text"), "");
  EXPECT_EQ(bench.TextAt("/Benched/List"), "a,b");
  EXPECT_THROW(bench.Kill("<no"), std::runtime_error);
}

TEST_F(NodeBenchTest, ItSaysWhatIsMissing) {
  const auto problem = [](const char* plugin, const char* type) -> std::string {
    try {
      Sdk::NodeBench bench(plugin, type);
      bench.Set("/WorkFlowEngine/WorkNodes/BenchedNode/Instances/Bench/ConfigFile", "/nowhere/node.xml");
      bench.Signal("one");
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_NE(problem("NoSuchPlugin", "BenchedNode").find("NoSuchPlugin"), std::string::npos);
  EXPECT_EQ(problem("", "NoSuchNode"), "the bench: no library has registered the type NoSuchNode");
  EXPECT_EQ(problem("", "BenchedNode"), "the bench: BenchedNode cannot load its ConfigFile /nowhere/node.xml");
  Sdk::NodeBench bench("", "BenchedNode");
  EXPECT_EQ(problem("", "BenchedNode"), "the bench: there is another one; one at a time");
  EXPECT_TRUE(bench.Signal("one"));
}

TEST_F(NodeBenchTest, ATimerThatWasStoppedGoesOn) {
  Sdk::NodeBench bench("FlowNodes", "Timer", "Clock");
  bench.SetParameter("Milliseconds", 600000);
  bench.SetParameter("Times", 2);
  EXPECT_TRUE(bench.Signal("start"));
  EXPECT_FALSE(bench.WaitUntilIdle(std::chrono::milliseconds(1)));
  EXPECT_EQ(bench.Stop(), "resume");
  EXPECT_EQ(bench.TextAt("/Timers/Clock/TicksLeft"), "2");
  bench.SetParameter("Milliseconds", 1);
  bench.Set("/Timers/Clock/Remaining", 1);
  EXPECT_TRUE(bench.Signal("resume"));
  EXPECT_TRUE(bench.WaitUntilIdle());
  EXPECT_EQ(bench.TakeFired(), (Lines{"tick", "tick", "finished"}));
  EXPECT_EQ(bench.Stop(), "") << "it was not at work";
}

TEST_F(NodeBenchTest, ACopierThatWasKilledCopiesTheRest) {
  const orv_test::TempDirectory directory;
  orv_test::WriteFile(directory.path() / "source", "0123456789");
  Sdk::NodeBench bench("FlowNodes", "LongCopier");
  bench.SetParameter("Source", directory.file("source"));
  bench.SetParameter("Target", directory.file("target"));
  const std::string before = bench.SaveState();
  EXPECT_TRUE(bench.Signal("copy"));
  EXPECT_TRUE(bench.WaitUntilIdle());
  // Back to a state from before the copy: it is done once more, over what is there.
  bench.Kill(before);
  EXPECT_TRUE(bench.Signal("copy"));
  EXPECT_TRUE(bench.WaitUntilIdle());
  EXPECT_EQ(bench.TakeFired(), (Lines{"copied", "copied"}));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "target"), "0123456789");
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
