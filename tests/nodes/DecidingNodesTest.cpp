// Nodes that decide, bring together, count and go over things.
#include <gtest/gtest.h>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/flow/Counter.h"
#include "nodes/flow/ForEach.h"
#include "nodes/flow/ForEachParallel.h"
#include "nodes/flow/Gate.h"
#include "nodes/flow/Join.h"
#include "nodes/flow/LogLineNode.h"
#include "nodes/flow/Switch.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

class DecidingNodesTest : public NodeFixture {
 protected:
  void SetUp() override {
    NodeFixture::SetUp();
    for (const char* type : {"ForEach", "ForEachParallel", "LogLine"}) Map(type, "failed");
  }
  template <class Value>
  void Set(const std::string& type, const std::string& name, const Value& value) {
    ASSERT_TRUE(dictionary_->SetValue(PathOf(type, name).c_str(), value));
  }
  void SetList(const std::string& type, const std::string& name, const std::vector<std::string>& texts) {
    const std::string path = PathOf(type, name);
    Sdk::NodeRecord(*dictionary_, path.substr(0, path.rfind('/'))).SetTexts(name, texts);
  }
  // Each signal to an object of its own: what counts is in the dictionary.
  template <class Node>
  Signals Fire(const Signals& signals) {
    for (const std::string& signal : signals) {
      const NodePointer node = Make<Node>();
      EXPECT_TRUE(node->Signal(signal.c_str())) << signal;
    }
    return TakeFired();
  }
  Sdk::NodeRecord RecordOf(const std::string& type) { return Sdk::NodeRecord(*dictionary_, "/" + type + "/Instance"); }

 private:
  static std::string PathOf(const std::string& type, const std::string& name) {
    return "/WorkFlowEngine/WorkNodes/" + type + "/Instances/Instance/Parameters/" + name;
  }
};

TEST_F(DecidingNodesTest, AJoinWaitsForAllOfARound) {
  Set("Join", "Of", 3);
  EXPECT_EQ(Fire<Join>({"in1", "in2", "in2"}), Signals{});
  EXPECT_EQ(Fire<Join>({"in3"}), Signals{"joined"});
  EXPECT_EQ(Fire<Join>({"in1"}), Signals{}) << "a second in2 came for this round";
  EXPECT_EQ(Fire<Join>({"in8"}), Signals{"joined"});
  EXPECT_EQ(Fire<Join>({"arrive", "arrive"}), Signals{});
  EXPECT_EQ(Fire<Join>({"reset", "arrive", "arrive"}), Signals{});
  EXPECT_EQ(Fire<Join>({"arrive"}), Signals{"joined"});
}

TEST_F(DecidingNodesTest, AJoinWaitsForAnyOfARound) {
  Set("Join", "Of", 3);
  Set("Join", "Needed", 1);
  EXPECT_EQ(Fire<Join>({"in2", "in1", "in3"}), (Signals{"joined", "late", "late"}));
  EXPECT_EQ(Fire<Join>({"in1", "in1", "in2", "in3"}), (Signals{"joined", "late", "late", "joined"}));
}

TEST_F(DecidingNodesTest, AGateIsOpenBlocksOrKeeps) {
  EXPECT_EQ(Fire<Gate>({"pass", "close", "pass", "open", "pass"}), (Signals{"passed", "blocked", "passed"}));
  Set("Gate", "Keep", true);
  EXPECT_EQ(Fire<Gate>({"close", "pass", "pass"}), Signals{});
  EXPECT_EQ(Fire<Gate>({"open", "pass"}), (Signals{"passed", "passed", "passed"}));
}

TEST_F(DecidingNodesTest, ACounterCountsToItsLimit) {
  Set("Counter", "Limit", 3);
  Set("Counter", "Start", 10);
  Set("Counter", "Step", -5);
  EXPECT_EQ(Fire<Counter>({"count", "count", "count"}), (Signals{"counted", "counted", "reached"}));
  EXPECT_EQ(RecordOf("Counter").Number("Count"), -5);
  EXPECT_EQ(Fire<Counter>({"count", "reset", "count", "count", "count"}),
            (Signals{"counted", "counted", "counted", "reached"}));
}

TEST_F(DecidingNodesTest, ASwitchGoesTheFirstWayThatFits) {
  Set("Switch", "Value", "{/Data/Value}");
  const auto way = [&](const char* by, const std::vector<std::string>& cases, const char* value) {
    Set("Switch", "By", by);
    SetList("Switch", "Cases", cases);
    dictionary_->SetValue("/Data/Value", value);
    return Fire<Switch>({"decide"});
  };
  EXPECT_EQ(way("value", {"red", "blue"}, "blue"), Signals{"case2"});
  EXPECT_EQ(way("value", {"red", "blue"}, "Blue"), Signals{"otherwise"});
  EXPECT_EQ(way("pattern", {"^a", "\\.csv$"}, "data.csv"), Signals{"case2"});
  EXPECT_EQ(way("comparison", {"< 10", ">=10.5", "!=10"}, "10.5"), Signals{"case2"});
  EXPECT_EQ(way("comparison", {"<10", ">10"}, "10"), Signals{"otherwise"});
  EXPECT_THROW(way("comparison", {"<10"}, "ten"), std::runtime_error);
  EXPECT_THROW(way("comparison", {"about 10"}, "10"), std::runtime_error);
  EXPECT_THROW(way("pattern", {"("}, "x"), std::runtime_error);
  EXPECT_THROW(way("size", {"x"}, "x"), std::runtime_error);
  EXPECT_THROW(way("value", std::vector<std::string>(9, "x"), "x"), std::runtime_error);
}

TEST_F(DecidingNodesTest, ALoopOverFilesGoesOnInAnotherObject) {
  for (const char* name : {"source/b.txt", "source/a.txt", "source/c.dat", "source/below/d.txt"}) {
    const std::filesystem::path file = directory_.path() / name;
    std::filesystem::create_directories(file.parent_path());
    orv_test::WriteFile(file, name);
  }
  Set("ForEach", "What", directory_.file("source").c_str());
  Set("ForEach", "Pattern", "*.txt");
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"item"});
  EXPECT_TRUE(RecordOf("ForEach").Text("Item").ends_with("a.txt"));
  EXPECT_EQ(Fire<ForEach>({"next"}), Signals{"item"});
  EXPECT_TRUE(RecordOf("ForEach").Text("Item").ends_with("b.txt"));
  EXPECT_EQ(RecordOf("ForEach").Number("Number"), 2);
  EXPECT_EQ(Fire<ForEach>({"next"}), Signals{"finished"});
  EXPECT_FALSE(Make<ForEach>()->Signal("next")) << "nothing is under way";
  Set("ForEach", "Recursive", true);
  EXPECT_EQ(Fire<ForEach>({"start", "next", "next", "next"}), (Signals{"item", "item", "item", "finished"}));
  Set("ForEach", "What", directory_.file("nowhere").c_str());
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"failed"});
  EXPECT_NE(RecordOf("ForEach").Text("Problem").find("cannot be listed"), std::string::npos);
}

TEST_F(DecidingNodesTest, ALoopOverLinesTakesEachWhole) {
  const std::string large(200000, 'x');
  orv_test::WriteFile(directory_.path() / "lines", "one\r\n\n" + large + "\nlast");
  Set("ForEach", "Over", "lines");
  Set("ForEach", "What", directory_.file("lines").c_str());
  std::vector<std::string> lines;
  Signals fired = Fire<ForEach>({"start"});
  while (fired == Signals{"item"} && lines.size() < 10) {
    lines.push_back(RecordOf("ForEach").Text("Item"));
    fired = Fire<ForEach>({"next"});
  }
  EXPECT_EQ(fired, Signals{"finished"});
  EXPECT_EQ(lines, (std::vector<std::string>{"one", "", large, "last"}));
  orv_test::WriteFile(directory_.path() / "lines", std::string(3 << 20, 'x'));
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"failed"});
  orv_test::WriteFile(directory_.path() / "lines", "");
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"finished"});
}

TEST_F(DecidingNodesTest, ALoopOverTextsKeepsThoseOfItsBeginning) {
  Set("ForEach", "Over", "list");
  Set("ForEach", "What", "");
  SetList("ForEach", "Items", {"a", "{/Data/Value}"});
  dictionary_->SetValue("/Data/Value", "at the start");
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"item"});
  dictionary_->SetValue("/Data/Value", "later");
  EXPECT_EQ(Fire<ForEach>({"next"}), Signals{"item"});
  EXPECT_EQ(RecordOf("ForEach").Text("Item"), "at the start");
  Set("ForEach", "Over", "children");
  Set("ForEach", "What", "/Data");
  EXPECT_EQ(Fire<ForEach>({"start", "next"}), (Signals{"item", "finished"}));
  EXPECT_EQ(RecordOf("ForEach").Text("Item"), "Value");
  Set("ForEach", "What", "/Nothing");
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"failed"});
  Set("ForEach", "Over", "everything");
  EXPECT_EQ(Fire<ForEach>({"start"}), Signals{"failed"});
}

TEST_F(DecidingNodesTest, AParallelLoopGivesEachPlaceTheNextItem) {
  Set("ForEachParallel", "Over", "list");
  Set("ForEachParallel", "What", "");
  Set("ForEachParallel", "AtATime", 3);
  SetList("ForEachParallel", "Items", {"a", "b", "c", "d"});
  EXPECT_EQ(Fire<ForEachParallel>({"start"}), (Signals{"item1", "item2", "item3"}));
  EXPECT_EQ(Fire<ForEachParallel>({"done2"}), Signals{"item2"});
  EXPECT_EQ(RecordOf("ForEachParallel").Text("1/Item"), "a");
  EXPECT_EQ(RecordOf("ForEachParallel").Text("2/Item"), "d");
  EXPECT_EQ(Fire<ForEachParallel>({"done3", "done2"}), Signals{});
  EXPECT_FALSE(Make<ForEachParallel>()->Signal("done3")) << "that place has no item";
  EXPECT_EQ(Fire<ForEachParallel>({"done1"}), Signals{"finished"});
  SetList("ForEachParallel", "Items", {});
  EXPECT_EQ(Fire<ForEachParallel>({"start"}), Signals{"finished"}) << "once";
}

TEST_F(DecidingNodesTest, ALogLineIsOneLine) {
  Set("LogLine", "File", directory_.file("log").c_str());
  Set("LogLine", "Text", "two\nlines {/Data/Value}");
  dictionary_->SetValue("/Data/Value", "here");
  EXPECT_EQ(Fire<LogLineNode>({"write", "write"}), (Signals{"written", "written"}));
  const std::string log = orv_test::ReadFile(directory_.path() / "log");
  EXPECT_NE(log.find("Z two lines here\n"), std::string::npos) << log;
  Set("LogLine", "File", directory_.path().string().c_str());
  EXPECT_EQ(Fire<LogLineNode>({"write"}), Signals{"failed"});
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
