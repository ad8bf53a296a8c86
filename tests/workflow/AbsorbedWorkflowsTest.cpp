// Workflows that take in others while they run, with everything real but the nodes.
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IDictionary;
using OrvWorkFlow::WorkFlowFactory;
using Texts = std::vector<std::string>;

class AbsorbedWorkflowsTest : public ::testing::TestWithParam<Host> {
 protected:
  AbsorbedWorkflowsTest() { SetUpFlow(bench.dictionary(), "Flow", {}); }
  ~AbsorbedWorkflowsTest() override { Actor::Components().clear(); }

  // One node, "<name>1", that is started with "begin"; the read directory "<name>Dir".
  void SetUpFlow(IDictionary& flow, const std::string& name, const std::map<std::string, std::string>& more) {
    const auto set = [&](const std::string& path, const std::string& value) {
      EXPECT_TRUE(flow.SetValue(("/WorkFlowEngine/" + path).c_str(), value.c_str())) << path;
    };
    set("WorkFlowName", name);
    set("WorkNodes/Actor/Binaries/win32_bin", "GoodPlugin");
    set("WorkNodes/Actor/Instances/" + name + "1/wfName", name);
    set("Mappings/StartSignal/ReceiverTypeName", "Actor");
    set("Mappings/StartSignal/ReceiverInstanceName", name + "1");
    set("Mappings/StartSignal/IncomingSignalName", "begin");
    for (const auto& [path, value] : more) set(path, value);
    PStringList directories;
    const std::string directory_name = name + "Dir";
    directories.out()->Add(directory_name.data(), directory_name.size());
    EXPECT_TRUE(flow.SetValue(("/WorkFlowEngine/Directories/" + name + "/ReadDirs").c_str(),
                              static_cast<const OrvWorkFlow::IOrvPStringList*>(directories.out())));
  }
  std::string WriteFlow(const std::string& name, const std::map<std::string, std::string>& more = {}) {
    auto* const flow =
        static_cast<IDictionary*>(WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
    SetUpFlow(*flow, name, more);
    const std::string file = directory.file(name + ".xml");
    EXPECT_TRUE(flow->SaveFile(file.c_str()));
    flow->Release();
    return file;
  }
  bool Absorb(const std::string& name) {
    return bench.engine().AbsorbFlow(directory.file(name + ".xml").c_str(), true);
  }
  void Start() {
    ASSERT_TRUE(bench.LoadNodes());
    bench.engine().SetStartSignal("Actor", "Flow1", "begin");
    ASSERT_TRUE(bench.engine().StartFlowing());
  }
  std::string Tree(const std::string& path) {
    const PString name;
    return bench.dictionary().GetValue(("/WorkFlowEngine/AbsorbTree/" + path).c_str(), name.out()) ? name.str() : "-";
  }

  TempDirectory directory;
  Workbench bench{GetParam(), Log::kNone};
};

TEST_P(AbsorbedWorkflowsTest, EachLevelSeesTheDirectoriesOfTheLevelsAbove) {
  WriteFlow("Sub");
  WriteFlow("Deep", {{"WorkNodes/Actor/Instances/Deep1/maps/done/map0", "Actor,Flow1,end"}});
  Actor::Components() = {"Sub1"};
  std::map<std::string, Texts> seen;
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& signal) {
    seen[instance + " " + signal] = actor.GetContentDirectories();
    if (instance == "Flow1" && signal == "begin") return Absorb("Sub");
    if (instance == "Sub1") return Absorb("Deep");
    return signal == "end" || actor.Fire("done");
  };
  Start();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_TRUE(bench.engine().StopFlowing());
  EXPECT_EQ(Tree("node0"), "Flow");
  EXPECT_EQ(Tree("node0/node0"), "Sub");
  EXPECT_EQ(Tree("node0/node0/node0"), "Deep");
  EXPECT_EQ(seen, (std::map<std::string, Texts>{{"Flow1 begin", {}},  // there is no tree yet
                                                {"Sub1 begin", {"SubDir", "FlowDir"}},
                                                {"Deep1 begin", {"DeepDir", "SubDir", "FlowDir"}},
                                                {"Flow1 end", {"FlowDir"}}}));
  EXPECT_EQ(bench.statistics().failures, 0U);
}

TEST_P(AbsorbedWorkflowsTest, FlowsThatAbsorbEachOtherAndThemselves) {
  WriteFlow("Flow");
  WriteFlow("Sub");
  int turns = 0;
  Actor::ThePlay() = [&](Actor& /*actor*/, const std::string& instance, const std::string& /*signal*/) {
    if (++turns > 6) return true;
    return Absorb("Sub") && (instance != "Sub1" || Absorb("Flow"));
  };
  Start();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_TRUE(bench.engine().StopFlowing());
  EXPECT_GT(turns, 6);
  EXPECT_EQ(Tree("node0"), "Flow");
  EXPECT_EQ(Tree("node0/node0"), "Sub");
  EXPECT_EQ(Tree("node0/node1"), "-");
  EXPECT_EQ(bench.statistics().failures, 0U);
}

// The pump's nodes absorb while other threads do: the same flows and others.
TEST_P(AbsorbedWorkflowsTest, ManyThreadsAbsorbAtOnce) {
  constexpr int kThreads = 3;
  constexpr int kFlows = 5;
  for (int i = 0; i < kFlows; ++i) WriteFlow("F" + std::to_string(i));
  std::atomic<int> begun = 0;
  Actor::ThePlay() = [&](Actor& /*actor*/, const std::string& instance, const std::string& /*signal*/) {
    if (instance != "Flow1") {
      ++begun;
      return true;
    }
    bool absorbed = true;
    for (int i = kFlows; i-- > 0;) absorbed = Absorb("F" + std::to_string(i)) && absorbed;
    return absorbed;
  };
  Start();
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kFlows; ++i) EXPECT_TRUE(Absorb("F" + std::to_string(i)));
    });
  }
  threads.clear();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_TRUE(bench.engine().StopFlowing());
  EXPECT_EQ(begun, (kThreads + 1) * kFlows);
  EXPECT_EQ(bench.statistics().failures, 0U);
  const PStringList absorbed;
  ASSERT_TRUE(bench.dictionary().GetEntries("/WorkFlowEngine/AbsorbTree/node0", absorbed.out()));
  EXPECT_EQ(absorbed.vec().size(), static_cast<std::size_t>(kFlows));
}

INSTANTIATE_TEST_SUITE_P(Hosts, AbsorbedWorkflowsTest, ::testing::Values(Host::kNone, Host::kWithGuiThread));

}  // namespace
}  // namespace orv_test
