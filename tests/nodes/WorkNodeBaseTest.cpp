#include "nodes/WorkNodeBase.h"

#include <gtest/gtest.h>

#include "runtime/MarshalledHolder.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

// Makes what a node inherits visible.
class ProbeNode final : public WorkNodeBase {
 public:
  ProbeNode() : WorkNodeBase("Probe") {}
  using WorkNodeBase::BooleanParameter;
  using WorkNodeBase::FireOutput;
  using WorkNodeBase::TellUser;
  using WorkNodeBase::TextParameter;

  std::vector<std::string> signals;

 private:
  bool OnSignal(std::string_view signal) override {
    signals.emplace_back(signal);
    return signal == "known";
  }
};

class WorkNodeBaseTest : public NodeFixture {
 protected:
  void SetUp() override {
    NodeFixture::SetUp();
    node_ = Make<ProbeNode>("First");
    probe_ = static_cast<ProbeNode*>(node_.get());
  }
  void TearDown() override {
    node_.reset();
    NodeFixture::TearDown();
  }

  std::string WriteConfiguration(const std::string& parameters) {
    const std::string file = directory_.file("node.xml");
    orv_test::WriteFile(file, "<IDictionaryRoot><Parameters>" + parameters + "</Parameters></IDictionaryRoot>");
    return file;
  }

  NodePointer node_;
  ProbeNode* probe_ = nullptr;
};

TEST_F(WorkNodeBaseTest, AnswersItsNamesAndItsInterface) {
  EXPECT_EQ(TextFrom([&](IOrvPString* text) { return node_->GetTypeName(text); }), "Probe");
  EXPECT_EQ(TextFrom([&](IOrvPString* text) { return node_->GetInstanceName(text); }), "First");
  EXPECT_EQ(node_->QueryInterface("IWorkNode"), node_.get());
  EXPECT_EQ(node_->QueryInterface("IWorkNodes"), nullptr);
  EXPECT_EQ(node_->QueryInterface(nullptr), nullptr);
  EXPECT_FALSE(node_->GetTypeName(nullptr));
  EXPECT_FALSE(node_->GetInstanceName(nullptr));
}

TEST_F(WorkNodeBaseTest, RefusesToBeWithoutAName) { EXPECT_FALSE(node_->Initialise(nullptr)); }

TEST_F(WorkNodeBaseTest, PassesSignalsOnAndTheirAnswerBack) {
  EXPECT_TRUE(node_->Signal("known"));
  EXPECT_FALSE(node_->Signal("unknown"));
  EXPECT_FALSE(node_->Signal(nullptr));
  EXPECT_EQ(probe_->signals, (Signals{"known", "unknown"}));
}

TEST_F(WorkNodeBaseTest, FiresThroughItsHandlerAndNowhereWithoutOne) {
  probe_->FireOutput("done");
  EXPECT_EQ(TakeFired(), Signals{"done"});
  node_->SetOutgoingSignalHandler(nullptr);
  probe_->FireOutput("done");
  EXPECT_EQ(TakeFired(), Signals{});
}

TEST_F(WorkNodeBaseTest, HasNothingToStopAndNothingToSave) {
  EXPECT_FALSE(node_->StopWork());
  EXPECT_TRUE(node_->SaveState(nullptr));
  const TextHolder text;
  EXPECT_FALSE(node_->GetRebootSignal(text.get()));
  EXPECT_FALSE(node_->GetProperty("Busy", text.get()));
}

TEST_F(WorkNodeBaseTest, ParametersOfTheInstanceWinOverTheFileAndTheFileOverTheDefault) {
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "none");
  EXPECT_TRUE(probe_->BooleanParameter("Fast", true));
  const std::string file = WriteConfiguration("<Color __type=\"str\">red</Color><Fast __type=\"Bool\">0</Fast>");
  ASSERT_TRUE(node_->LoadState(file.c_str()));
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "red");
  EXPECT_FALSE(probe_->BooleanParameter("Fast", true));
  SetText("/WorkFlowEngine/WorkNodes/Probe/Instances/First/Parameters/Color", "blue");
  ASSERT_TRUE(dictionary_->SetValue("/WorkFlowEngine/WorkNodes/Probe/Instances/First/Parameters/Fast", true));
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "blue");
  EXPECT_TRUE(probe_->BooleanParameter("Fast", false));
}

TEST_F(WorkNodeBaseTest, ParametersOfAnotherInstanceAreNotItsOwn) {
  SetText("/WorkFlowEngine/WorkNodes/Probe/Instances/Second/Parameters/Color", "blue");
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "none");
}

TEST_F(WorkNodeBaseTest, FindsABareConfigurationFileInItsContentDirectories) {
  WriteConfiguration("<Color __type=\"str\">red</Color>");
  EXPECT_FALSE(node_->LoadState("node.xml"));
  node_->AddContentDirectory(directory_.path().string().c_str());
  ASSERT_TRUE(node_->LoadState("node.xml"));
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "red");
}

TEST_F(WorkNodeBaseTest, AConfigurationThatCannotBeReadLeavesTheOneBefore) {
  const std::string file = WriteConfiguration("<Color __type=\"str\">red</Color>");
  ASSERT_TRUE(node_->LoadState(file.c_str()));
  EXPECT_FALSE(node_->LoadState(directory_.file("missing.xml").c_str()));
  EXPECT_FALSE(node_->LoadState(nullptr));
  EXPECT_FALSE(node_->LoadState(""));
  EXPECT_EQ(probe_->TextParameter("Color", "none"), "red");
}

TEST_F(WorkNodeBaseTest, TellsTheUserUnderItsName) {
  const orv_test::MessageBoxRecorder boxes;
  probe_->TellUser("no paper");
  ASSERT_EQ(boxes.GetBoxes().size(), 1u);
  EXPECT_EQ(boxes.GetBoxes()[0].text, "no paper");
  EXPECT_EQ(boxes.GetBoxes()[0].caption, "Probe First");
}

TEST_F(WorkNodeBaseTest, ThrowsWithoutTheWorkflowsDictionary) {
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_THROW(probe_->TextParameter("Color", "none"), std::runtime_error);
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
