#include "OrvWorkFlow/sdk/WorkNodeBase.h"

#include <gtest/gtest.h>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr NodeInput kInputs[] = {{"known", "is answered with true"}, {"refused", "is answered with false"}};
constexpr NodeOutput kOutputs[] = {{"done", true, "it is done"}};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Color", "none", "the color"),
    BooleanParameterRow("Fast", true, "whether it is fast"),
    NumberParameterRow("Count", "7", 1, "how many", 100),
};
constexpr NodeDescription kDescription = {
    .sentence = "Shows what a node inherits", .inputs = kInputs, .outputs = kOutputs, .parameters = kParameters};

// Makes what a node inherits visible.
class ProbeNode final : public Sdk::WorkNodeBase {
 public:
  ProbeNode() : Sdk::WorkNodeBase("Probe", kDescription) {}
  using Sdk::WorkNodeBase::BooleanParameter;
  using Sdk::WorkNodeBase::FireOutput;
  using Sdk::WorkNodeBase::NumberParameter;
  using Sdk::WorkNodeBase::TellUser;
  using Sdk::WorkNodeBase::TextParameter;

  std::vector<std::string> signals;

 private:
  bool OnSignal(std::string_view signal) override {
    signals.emplace_back(signal);
    return signal == "known";
  }
};

constexpr NodeParameter kTexts[] = {
    TextParameterRow("Mood", "none", "a word"),
    TextListParameterRow("Colours", "words"),
    TextListParameterRow("Paper", "one word"),
    TextListParameterRow("Notes", "any texts"),
};
constexpr NodeDescription kTextsDescription = {.sentence = "Reads words", .parameters = kTexts};
constexpr const char* kMoods[] = {"glad", "sad"};
constexpr const char* kPapers[] = {"A4", "A3"};
constexpr ParameterRule kRules[] = {
    {.name = "Mood", .words = kMoods},
    {.name = "Colours", .words = kMoods},
    {.name = "Paper", .words = kPapers, .any_case = true, .between = "-"},
};

// Reads words.
class ChoosyNode final : public Sdk::WorkNodeBase {
 public:
  ChoosyNode() : Sdk::WorkNodeBase("Choosy", kTextsDescription, kRules) {}
  using Sdk::WorkNodeBase::OptionalText;
  using Sdk::WorkNodeBase::TextListParameter;
  using Sdk::WorkNodeBase::TextParameter;

 private:
  bool OnSignal(std::string_view /*signal*/) override { return true; }
};

// Says that it fires one signal for each that it gets.
class FrugalNode final : public Sdk::WorkNodeBase {
 public:
  FrugalNode() : Sdk::WorkNodeBase("Frugal", kDescription) {}
  std::int32_t MostSignalsFired() override { return 1; }
  using Sdk::WorkNodeBase::FireOutput;

 private:
  bool OnSignal(std::string_view /*signal*/) override { return true; }
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
  EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return node_->GetTypeName(text); }), "Probe");
  EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return node_->GetInstanceName(text); }), "First");
  EXPECT_EQ(node_->QueryInterface("IWorkNode"), node_.get());
  EXPECT_EQ(node_->QueryInterface("IWorkNodes"), nullptr);
  EXPECT_EQ(node_->QueryInterface(nullptr), nullptr);
  EXPECT_FALSE(node_->GetTypeName(nullptr));
  EXPECT_FALSE(node_->GetInstanceName(nullptr));
}

TEST_F(WorkNodeBaseTest, RefusesToBeWithoutAName) { EXPECT_FALSE(node_->Initialise(nullptr)); }

TEST_F(WorkNodeBaseTest, PassesSignalsOnAndTheirAnswerBack) {
  EXPECT_TRUE(node_->Signal("known"));
  EXPECT_FALSE(node_->Signal("refused"));
  EXPECT_FALSE(node_->Signal("undeclared")) << "the node never sees it";
  EXPECT_FALSE(node_->Signal(nullptr));
  EXPECT_EQ(probe_->signals, (Signals{"known", "refused"}));
}

TEST_F(WorkNodeBaseTest, DescribesItself) {
  auto* const description = static_cast<INodeDescription*>(node_->QueryInterface("INodeDescription"));
  ASSERT_NE(description, nullptr);
  EXPECT_EQ(description->Describe(), &kDescription);
  EXPECT_STREQ(description->Describe()->parameters.first[2].fallback, "7");
}

TEST_F(WorkNodeBaseTest, WhatIsNotDeclaredCanNeitherBeReadNorFired) {
  EXPECT_THROW(probe_->TextParameter("Colour"), std::logic_error);
  EXPECT_THROW(probe_->TextParameter("Fast"), std::logic_error) << "it is declared as a Boolean";
  EXPECT_THROW(probe_->FireOutput("finished"), std::logic_error);
  EXPECT_EQ(TakeFired(), Signals{});
}

TEST_F(WorkNodeBaseTest, SaysTheRulesOfItsParameters) {
  EXPECT_EQ(node_->QueryInterface("INodeParameterRules"), nullptr) << "it has none";
  const NodePointer node = Make<ChoosyNode>("First");
  auto* const rules = static_cast<INodeParameterRules*>(node->QueryInterface("INodeParameterRules"));
  ASSERT_NE(rules, nullptr);
  EXPECT_EQ(rules->FindRule("Mood"), &kRules[0]);
  EXPECT_EQ(rules->FindRule("Notes"), nullptr);
  EXPECT_EQ(rules->FindRule(nullptr), nullptr);
}

TEST_F(WorkNodeBaseTest, ReadsNoOtherWordsThanThoseOfItsRules) {
  const NodePointer node = Make<ChoosyNode>("First");
  auto& choosy = *static_cast<ChoosyNode*>(node.get());
  EXPECT_EQ(choosy.TextParameter("Mood"), "none") << "the fallback";
  EXPECT_EQ(choosy.OptionalText("Paper"), "");
  EXPECT_THROW(choosy.OptionalText("Notes"), std::logic_error);
  const auto set = [&](const std::string& parameters) {
    ASSERT_TRUE(choosy.LoadState(WriteConfiguration(parameters).c_str()));
  };
  const auto problem = [](auto&& read) -> std::string {
    try {
      read();
    } catch (const Sdk::Parameters::WrongWord& wrong) {
      return wrong.what();
    }
    return "";
  };
  const std::string item = "<__ListEntries><__item0>glad</__item0><__item1>mad</__item1></__ListEntries>";
  set("<Mood __type=\"str\">mad</Mood><Colours __type=\"strlist\">" + item +
      "</Colours><Paper __type=\"str\">a4</Paper>");
  EXPECT_EQ(problem([&] { choosy.TextParameter("Mood"); }),
            "the parameter /Parameters/Mood is \"mad\"; it takes glad or sad");
  EXPECT_EQ(problem([&] { choosy.TextListParameter("Colours"); }),
            "the parameter /Parameters/Colours holds \"mad\"; it takes glad or sad");
  EXPECT_EQ(choosy.OptionalText("Paper"), "a4");
  set("<Mood __type=\"str\">none</Mood><Paper __type=\"strlist\">" + item + "</Paper>");
  EXPECT_EQ(choosy.TextParameter("Mood"), "none");
  EXPECT_EQ(problem([&] { choosy.OptionalText("Paper"); }),
            "the parameter /Parameters/Paper is \"glad-mad\"; it takes A4 or A3");
}

// A value as the dictionary file has it, and what the node reads; "!" where it must refuse.
struct Conversion {
  const char* parameter;
  const char* element;
  const char* read;
};

class ParameterConversionTest : public WorkNodeBaseTest, public ::testing::WithParamInterface<Conversion> {
 protected:
  std::string ReadParameter(const std::string& name) const {
    try {
      if (name == "Fast") return probe_->BooleanParameter(name) ? "yes" : "no";
      return name == "Count" ? std::to_string(probe_->NumberParameter(name)) : probe_->TextParameter(name);
    } catch (const std::runtime_error& error) {
      message_ = error.what();
      return "!";
    }
  }
  mutable std::string message_;
};

TEST_P(ParameterConversionTest, LosesNothingOrIsRefused) {
  const auto [parameter, element, read] = GetParam();
  const std::string attributes(element);
  ASSERT_TRUE(
      node_->LoadState(WriteConfiguration("<" + std::string(parameter) + attributes + "</" + parameter + ">").c_str()));
  EXPECT_EQ(ReadParameter(parameter), read) << attributes;
  const std::string begin = "the parameter /Parameters/" + std::string(parameter) + " is ";
  EXPECT_EQ(message_.substr(0, begin.size()), std::string(read) == "!" ? begin : "") << message_;
}

INSTANTIATE_TEST_SUITE_P(
    Parameters, ParameterConversionTest,
    ::testing::Values(
        Conversion{"Fast", " __type=\"Bool\">0", "no"}, Conversion{"Fast", " __type=\"Bool\">1", "yes"},
        Conversion{"Fast", " __type=\"str\">no", "no"}, Conversion{"Fast", " __type=\"str\">yes", "yes"},
        Conversion{"Fast", " __type=\"str\">False", "no"}, Conversion{"Fast", " __type=\"str\">TRUE", "yes"},
        Conversion{"Fast", " __type=\"str\">0", "no"}, Conversion{"Fast", " __type=\"UStr\">no", "no"},
        Conversion{"Fast", " __type=\"int\">0", "no"}, Conversion{"Fast", " __type=\"int\">1", "yes"},
        Conversion{"Fast", " __type=\"dbl\">0.000000", "no"}, Conversion{"Fast", ">0", "yes"},
        Conversion{"Fast", " __type=\"int\">2", "!"}, Conversion{"Fast", " __type=\"str\">", "!"},
        Conversion{"Fast", " __type=\"str\">nope", "!"}, Conversion{"Fast", " __type=\"str\"> no", "!"},
        Conversion{"Fast", " __type=\"bool\">0", "!"}, Conversion{"Fast", " __type=\"dbl\">0.500000", "!"},
        Conversion{"Count", " __type=\"int\">12", "12"}, Conversion{"Count", " __type=\"str\">12", "12"},
        Conversion{"Count", " __type=\"dbl\">12.000000", "12"}, Conversion{"Count", " __type=\"int\">0", "1"},
        Conversion{"Count", " __type=\"int\">1000", "100"}, Conversion{"Count", " __type=\"str\">1e1", "!"},
        Conversion{"Count", " __type=\"str\">12 ", "!"}, Conversion{"Count", " __type=\"str\">0x1", "!"},
        Conversion{"Count", " __type=\"str\">4294967296", "!"}, Conversion{"Count", " __type=\"dbl\">1.500000", "!"},
        Conversion{"Count", " __type=\"Bool\">1", "!"}, Conversion{"Color", " __type=\"str\">red", "red"},
        Conversion{"Color", " __type=\"UStr\">red", "red"}, Conversion{"Color", " __type=\"UStr\">r\u00f6t", "!"},
        Conversion{"Color", " __type=\"int\">-3", "-3"}, Conversion{"Color", " __type=\"Bool\">1", "!"},
        Conversion{"Color", " __type=\"dbl\">1.000000", "!"}, Conversion{"Color", ">", "none"}));

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
  const Sdk::TextHolder text;
  EXPECT_FALSE(node_->GetRebootSignal(text.get()));
  EXPECT_FALSE(node_->GetProperty("Busy", text.get()));
}

TEST_F(WorkNodeBaseTest, ParametersOfTheInstanceWinOverTheFileAndTheFileOverTheDefault) {
  EXPECT_EQ(probe_->TextParameter("Color"), "none");
  EXPECT_TRUE(probe_->BooleanParameter("Fast"));
  const std::string file = WriteConfiguration("<Color __type=\"str\">red</Color><Fast __type=\"Bool\">0</Fast>");
  ASSERT_TRUE(node_->LoadState(file.c_str()));
  EXPECT_EQ(probe_->TextParameter("Color"), "red");
  EXPECT_FALSE(probe_->BooleanParameter("Fast"));
  SetText("/WorkFlowEngine/WorkNodes/Probe/Instances/First/Parameters/Color", "blue");
  ASSERT_TRUE(dictionary_->SetValue("/WorkFlowEngine/WorkNodes/Probe/Instances/First/Parameters/Fast", true));
  EXPECT_EQ(probe_->TextParameter("Color"), "blue");
  EXPECT_TRUE(probe_->BooleanParameter("Fast"));
}

TEST_F(WorkNodeBaseTest, ParametersOfAnotherInstanceAreNotItsOwn) {
  SetText("/WorkFlowEngine/WorkNodes/Probe/Instances/Second/Parameters/Color", "blue");
  EXPECT_EQ(probe_->TextParameter("Color"), "none");
}

TEST_F(WorkNodeBaseTest, FiresNoMoreThanItSays) {
  EXPECT_EQ(node_->QueryInterface("INodeFiring"), nullptr);
  const NodePointer node = Make<FrugalNode>("First");
  auto* const frugal = static_cast<FrugalNode*>(node.get());
  auto* const firing = static_cast<INodeFiring*>(node->QueryInterface("INodeFiring"));
  ASSERT_NE(firing, nullptr);
  EXPECT_EQ(firing->MostSignalsFired(), 1);
  EXPECT_THROW(frugal->FireOutput("done"), std::logic_error);
  // Work that goes on after the next signal came may still fire what it owes.
  EXPECT_TRUE(node->Signal("known") && node->Signal("known"));
  EXPECT_NO_THROW(frugal->FireOutput("done"));
  EXPECT_NO_THROW(frugal->FireOutput("done"));
  EXPECT_THROW(frugal->FireOutput("done"), std::logic_error);
}

TEST_F(WorkNodeBaseTest, FindsABareConfigurationFileInItsContentDirectories) {
  WriteConfiguration("<Color __type=\"str\">red</Color>");
  EXPECT_FALSE(node_->LoadState("node.xml"));
  node_->AddContentDirectory(directory_.path().string().c_str());
  ASSERT_TRUE(node_->LoadState("node.xml"));
  EXPECT_EQ(probe_->TextParameter("Color"), "red");
}

TEST_F(WorkNodeBaseTest, AConfigurationThatCannotBeReadLeavesTheOneBefore) {
  const std::string file = WriteConfiguration("<Color __type=\"str\">red</Color>");
  ASSERT_TRUE(node_->LoadState(file.c_str()));
  EXPECT_FALSE(node_->LoadState(directory_.file("missing.xml").c_str()));
  EXPECT_FALSE(node_->LoadState(nullptr));
  EXPECT_FALSE(node_->LoadState(""));
  EXPECT_EQ(probe_->TextParameter("Color"), "red");
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
  EXPECT_THROW(probe_->TextParameter("Color"), std::runtime_error);
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
