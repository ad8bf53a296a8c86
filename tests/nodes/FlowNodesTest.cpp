// The nodes that wait, work long, ask for a restart and look for components; stopped and continued.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/run/HostApp.h"
#include "nodes/component/ComponentFinder.h"
#include "nodes/flow/AbsorbWorkflow.h"
#include "nodes/flow/LongCopier.h"
#include "nodes/flow/Restarter.h"
#include "nodes/flow/Timer.h"
#include "tests/fakes/FakeEngine.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

// The nodes fire on threads of their own; one is looked at once it is not busy any more.
class FlowNodesTest : public NodeFixture {
 protected:
  static bool IsBusy(IWorkNode& node) {
    return Sdk::TextFrom([&](IOrvPString* text) { return node.GetProperty("Busy", text); }) == "yes";
  }
  static void WaitUntilIdle(IWorkNode& node) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (IsBusy(node) && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    EXPECT_FALSE(IsBusy(node));
  }
  static std::string RebootSignal(IWorkNode& node) {
    return Sdk::TextFrom([&](IOrvPString* text) { return node.GetRebootSignal(text); });
  }
  std::int32_t NumberAt(const std::string& path) {
    std::int32_t value = -1;
    dictionary_->GetValue(path.c_str(), &value);
    return value;
  }
  void SetParameter(const std::string& type, const std::string& name, std::int32_t value) {
    dictionary_->SetValue(("/WorkFlowEngine/WorkNodes/" + type + "/Instances/Instance/Parameters/" + name).c_str(),
                          value);
  }
  void SetParameter(const std::string& type, const std::string& name, const std::string& value) {
    SetText(("/WorkFlowEngine/WorkNodes/" + type + "/Instances/Instance/Parameters/" + name).c_str(), value);
  }
};

TEST_F(FlowNodesTest, ATimerTicksAsOftenAsItIsTold) {
  SetParameter("Timer", "Milliseconds", 5);
  SetParameter("Timer", "Times", 3);
  const NodePointer timer = Make<Timer>();
  EXPECT_TRUE(timer->Signal("start"));
  WaitUntilIdle(*timer);
  EXPECT_FALSE(timer->StopWork()) << "it has finished";
  EXPECT_EQ(TakeFired(), (Signals{"tick", "tick", "tick", "finished"}));
  EXPECT_FALSE(timer->Signal("stop"));
}

TEST_F(FlowNodesTest, AStoppedTimerGoesOnInAnotherObject) {
  SetParameter("Timer", "Milliseconds", 600000);
  {
    const NodePointer timer = Make<Timer>();
    EXPECT_TRUE(timer->Signal("start"));
    EXPECT_TRUE(IsBusy(*timer));
    EXPECT_TRUE(timer->StopWork());
    EXPECT_FALSE(timer->StopWork()) << "told once";
    EXPECT_FALSE(IsBusy(*timer));
    EXPECT_EQ(RebootSignal(*timer), "resume");
  }
  EXPECT_EQ(NumberAt("/Timers/Instance/TicksLeft"), 1);
  EXPECT_GT(NumberAt("/Timers/Instance/Remaining"), 0);
  dictionary_->SetValue("/Timers/Instance/Remaining", std::int32_t{1});
  const NodePointer next = Make<Timer>();
  EXPECT_TRUE(next->Signal("resume"));
  WaitUntilIdle(*next);
  next->StopWork();
  EXPECT_EQ(TakeFired(), (Signals{"tick", "finished"}));
}

TEST_F(FlowNodesTest, ANodeThatGoesAwayEndsItsWork) {
  SetParameter("Timer", "Milliseconds", 600000);
  const NodePointer timer = Make<Timer>();
  EXPECT_TRUE(timer->Signal("start"));
}

TEST_F(FlowNodesTest, ALongCopyIsWholeHoweverOftenItIsStopped) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) bytes.push_back(static_cast<char>(i * 7));
  orv_test::WriteFile(directory_.path() / "source", bytes);
  SetParameter("LongCopier", "Source", directory_.file("source"));
  SetParameter("LongCopier", "Target", directory_.file("target"));
  SetParameter("LongCopier", "StepBytes", 100);
  SetParameter("LongCopier", "PauseMilliseconds", 5);
  const char* signal = "copy";
  int parts = 0;
  for (bool stopped = true; stopped && parts < 1000; ++parts) {
    const NodePointer copier = Make<LongCopier>();
    EXPECT_TRUE(copier->Signal(signal));
    std::this_thread::sleep_for(std::chrono::milliseconds(parts < 3 ? 12 : 300));
    stopped = copier->StopWork();
    signal = "resume";
    // As a killed run leaves it: longer than what the dictionary knows of.
    if (stopped) {
      const std::string longer = orv_test::ReadFile(directory_.path() / "target") + "behind";
      orv_test::WriteFile(directory_.path() / "target", longer);
    }
  }
  EXPECT_GT(parts, 1);
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(orv_test::ReadFile(directory_.path() / "target"), bytes);
  EXPECT_EQ(NumberAt("/LongCopies/Instance/Copied"), 1000);
}

TEST_F(FlowNodesTest, ACopyWithoutASourceFails) {
  orv_test::MessageBoxRecorder boxes;
  SetParameter("LongCopier", "Source", directory_.file("nothing"));
  const NodePointer copier = Make<LongCopier>();
  EXPECT_TRUE(copier->Signal("copy"));
  WaitUntilIdle(*copier);
  copier->StopWork();
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(boxes.GetTexts().size(), 1u);
}

TEST_F(FlowNodesTest, ARestarterAsksTheHostAndGoesOnAfterwards) {
  const NodePointer restarter = Make<Restarter>();
  EXPECT_TRUE(restarter->Signal("restart"));
  EXPECT_EQ(TakeFired(), Signals{"refused"}) << "there is no host";
  EXPECT_FALSE(restarter->StopWork());

  Host::HostApp* const host = Host::HostApp::New();
  WorkFlowFactory::AddGlobalObject("HostApp", host, false);
  EXPECT_TRUE(restarter->Signal("restart"));
  EXPECT_EQ(TakeFired(), Signals{"refused"}) << "the host keeps no state";
  host->AllowRestart(true);
  EXPECT_TRUE(restarter->Signal("restart"));
  EXPECT_TRUE(host->RestartRequested());
  EXPECT_EQ(TakeFired(), Signals{});
  EXPECT_TRUE(restarter->StopWork());
  EXPECT_EQ(RebootSignal(*restarter), "restarted");
  EXPECT_TRUE(restarter->Signal("restarted"));
  EXPECT_EQ(TakeFired(), Signals{"restarted"});
  EXPECT_FALSE(restarter->StopWork());
  EXPECT_FALSE(restarter->Signal("reboot"));
  WorkFlowFactory::ReleaseGlobalObjects();
  host->Release();
}

TEST_F(FlowNodesTest, TheFinderNamesWhatNoLibraryHolds) {
  const std::string file = directory_.file("flow.xml");
  orv_test::WriteFile(file,
                      "<IDictionaryRoot><WorkFlowEngine><WorkNodes><NewNode><A/></NewNode></WorkNodes><UtilityObjects>"
                      "<Global><Dictionary><A/></Dictionary><NewObject><A/></NewObject></Global></UtilityObjects>"
                      "</WorkFlowEngine></IDictionaryRoot>");
  const NodePointer node = Make<ComponentFinder>("");
  auto* const finder = static_cast<IComponentFinder*>(node->QueryInterface("IComponentFinder"));
  ASSERT_NE(finder, nullptr);
  EXPECT_NE(node->QueryInterface("IWorkNode"), nullptr);
  const Sdk::TextListHolder components;
  EXPECT_TRUE(finder->FindNewComponents(file.c_str(), components.get()));
  EXPECT_EQ(components.Texts(), (Signals{"NewNode", "NewObject"}));
  EXPECT_FALSE(finder->FindNewComponents(directory_.file("nothing").c_str(), components.get()));
  EXPECT_FALSE(finder->FindNewComponents(nullptr, components.get()));
  EXPECT_FALSE(finder->FindNewComponents(file.c_str(), nullptr));
  EXPECT_FALSE(node->Signal("find"));
}

TEST_F(FlowNodesTest, AbsorbingSaysHowItEnded) {
  const orv_test::MessageBoxRecorder boxes;
  orv_test::FakeEngine engine;
  WorkFlowFactory::AddGlobalObject("WorkFlowEngine", &engine, false);
  const NodePointer node = Make<AbsorbWorkflow>();
  SetParameter("AbsorbWorkflow", "File", "$Flow/sub.xml");
  EXPECT_TRUE(node->Signal("absorb"));
  EXPECT_EQ(TakeFired(), Signals{"absorbed"});
  dictionary_->SetValue("/WorkFlowEngine/WorkNodes/AbsorbWorkflow/Instances/Instance/Parameters/Start", false);
  engine.absorbs = false;
  EXPECT_TRUE(node->Signal("absorb"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(engine.absorbed, (Signals{"$Flow/sub.xml, start", "$Flow/sub.xml"}));
  EXPECT_EQ(boxes.GetTexts().size(), 1u);
  WorkFlowFactory::ReleaseGlobalObjects();
}

TEST_F(FlowNodesTest, WhatCannotBeAbsorbedIsToldWithItsReason) {
  const orv_test::TempDirectory directory;
  const std::string file = directory.file("sub.xml");
  orv_test::FakeEngine engine;
  engine.absorbs = false;
  WorkFlowFactory::AddGlobalObject("WorkFlowEngine", &engine, false);
  const NodePointer node = Make<AbsorbWorkflow>();
  const auto said = [&](const std::string& name) {
    const orv_test::MessageBoxRecorder boxes;
    SetParameter("AbsorbWorkflow", "File", name.c_str());
    EXPECT_TRUE(node->Signal("absorb"));
    EXPECT_EQ(TakeFired(), Signals{"failed"});
    return boxes.GetTexts().empty() ? "" : boxes.GetTexts().front();
  };
  const std::string begin = "cannot absorb \"" + file + "\": ";
  EXPECT_THAT(said(file), ::testing::HasSubstr(begin + "no such file"));
  EXPECT_THAT(said(""), ::testing::HasSubstr("cannot absorb \"\": no File is given"));
  orv_test::WriteFile(file, "<IDictionaryRoot>\n<WorkFlowEngine>");
  EXPECT_THAT(said(file), ::testing::HasSubstr(begin + "line 2: cut off"));
  orv_test::WriteFile(file, "<IDictionaryRoot/>");
  EXPECT_THAT(said(file), ::testing::HasSubstr(begin + "it is no workflow: /WorkFlowEngine/WorkFlowName is missing"));
  orv_test::WriteFile(
      file,
      "<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type=\"str\">Sub</WorkFlowName></WorkFlowEngine>"
      "</IDictionaryRoot>");
  EXPECT_THAT(said(file), ::testing::HasSubstr(begin + "The engine's reason."));
  WorkFlowFactory::ReleaseGlobalObjects();
}

TEST_F(FlowNodesTest, AbsorbingNeedsAnEngine) {
  const NodePointer node = Make<AbsorbWorkflow>();
  EXPECT_THROW(node->Signal("absorb"), std::runtime_error);
  EXPECT_FALSE(node->Signal("take"));
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
