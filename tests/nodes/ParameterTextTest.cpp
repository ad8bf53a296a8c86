// Values in the texts of parameters, as a node reads them.
#include "OrvWorkFlow/sdk/ParameterText.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "OrvWorkFlow/sdk/WorkerNode.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr NodeInput kInputs[] = {{"read", "reads them"}, {"twice", "reads the text twice"}, {"resume", "goes on"}};
constexpr NodeOutput kOutputs[] = {{"done", false, "they are read"}};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Text", "{/as it stands}", "a text"),
    NumberParameterRow("Number", "7", 0, "a number"),
    BooleanParameterRow("Boolean", false, "a boolean"),
    TextListParameterRow("List", "texts"),
};
constexpr NodeDescription kDescription = {
    .sentence = "Reads its parameters",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
};

class Reader final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Reader";
  Reader() : WorkNodeBase(kTypeName, kDescription) {}
  std::string text;
  std::int32_t number = 0;
  bool boolean = false;
  std::vector<std::string> list;

 private:
  bool OnSignal(std::string_view signal) override {
    text = TextParameter("Text");
    if (signal == "twice") {
      WorkflowDictionary().SetValue("/Data/Text", "changed on the way");
      text += "|" + TextParameter("Text");
      return true;
    }
    number = NumberParameter("Number");
    boolean = BooleanParameter("Boolean");
    list = TextListParameter("List");
    return true;
  }
};

class LongReader final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "Reader";
  LongReader() : WorkerNode(kTypeName, kDescription) {}
  std::string text;

 private:
  bool OnSignal(std::string_view signal) override { return signal == "resume" ? Continue() : BeginAnew(); }
  Outcome Work() override {
    text = TextParameter("Text");
    return Pause(std::chrono::hours(1)) ? Outcome::Done : Outcome::Stopped;
  }
};

class ParameterTextTest : public NodeFixture {
 protected:
  static std::string PathOf(const std::string& name) {
    return "/WorkFlowEngine/WorkNodes/Reader/Instances/Instance/Parameters/" + name;
  }
  void SetParameter(const std::string& name, const std::string& text) { SetText(PathOf(name).c_str(), text); }

  Reader& Read(const char* signal = "read") {
    if (node_ == nullptr) node_ = Make<Reader>();
    EXPECT_TRUE(node_->Signal(signal));
    return *static_cast<Reader*>(node_.get());
  }
  std::string Problem() {
    try {
      Read();
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "none";
  }

  NodePointer node_;
};

TEST_F(ParameterTextTest, TakesValuesOfAllTypes) {
  dictionary_->SetValue("/Data/Number", 42);
  dictionary_->SetValue("/Data/Yes", true);
  SetText("/Data/Text", "a text");
  SetParameter("Text", "<{/Data/Text}> {/Data/Number}{/Data/Yes}");
  SetParameter("Number", "{/Data/Number}");
  SetParameter("Boolean", "{/Data/Yes}");
  const Reader& reader = Read();
  EXPECT_EQ(reader.text, "<a text> 421");
  EXPECT_EQ(reader.number, 42);
  EXPECT_TRUE(reader.boolean);
}

TEST_F(ParameterTextTest, BracesAreEscapedAndFallbacksStayAsTheyAre) {
  EXPECT_EQ(Read().text, "{/as it stands}");
  SetParameter("Text", "{{a}}{{{{2,3}}}}");
  EXPECT_EQ(Read().text, "{a}{{2,3}}");
}

TEST_F(ParameterTextTest, WhatIsPutInIsNotLookedIntoAgain) {
  SetText("/Data/Text", "{/Data/Secret} {{ } {env:PATH}");
  SetText("/Data/Secret", "secret");
  SetParameter("Text", "{/Data/Text}");
  EXPECT_EQ(Read().text, "{/Data/Secret} {{ } {env:PATH}");
}

TEST_F(ParameterTextTest, IsPutInOnceForEachSignal) {
  SetText("/Data/Text", "before");
  SetParameter("Text", "{/Data/Text}");
  EXPECT_EQ(Read("twice").text, "before|before");
  EXPECT_EQ(Read().text, "changed on the way");
}

TEST_F(ParameterTextTest, AListTakesValuesItemByItem) {
  SetText("/Data/Text", "two words");
  const Sdk::TextListHolder list;
  for (const std::string item : {"-x", "{/Data/Text}", "", "{{}}"}) list->Add(item.data(), item.size());
  dictionary_->SetValue(PathOf("List").c_str(), list.get());
  EXPECT_EQ(Read().list, (std::vector<std::string>{"-x", "two words", "", "{}"}));
  SetParameter("List", "{/Data/Text}");
  EXPECT_EQ(Read().list, std::vector<std::string>{"two words"}) << "a text is a list of one";
  dictionary_->Delete(PathOf("List").c_str());
  EXPECT_EQ(Read().list, std::vector<std::string>{});
}

TEST_F(ParameterTextTest, ReadsListedVariablesOnly) {
  SetParameter("Text", "{env:PATH}");
  EXPECT_EQ(Problem(),
            "the parameter " + PathOf("Text") + " takes {env:PATH}, which /Orvflow/Environment does not list");
  SetText("/Orvflow/Environment", "HOME, PATH ORV_NO_SUCH_VARIABLE");
  EXPECT_EQ(Read().text, std::getenv("PATH"));
  SetParameter("Text", "{env:ORV_NO_SUCH_VARIABLE}");
  EXPECT_NE(Problem().find("the environment has no such variable"), std::string::npos) << Problem();
}

TEST_F(ParameterTextTest, WhatCannotBePutInFailsTheSignal) {
  const std::string before = "the parameter " + PathOf("Text") + " ";
  SetParameter("Text", "{/Data/Nothing}");
  EXPECT_EQ(Problem(), before + "takes {/Data/Nothing}, and there is no such entry");
  const Sdk::TextListHolder list;
  list->Add("a", 1);
  dictionary_->SetValue("/Data/List", list.get());
  SetParameter("Text", "{/Data/List}");
  EXPECT_EQ(Problem(), before + "takes {/Data/List}, which is a list and no text or number");
  SetParameter("Text", "{/Data");
  EXPECT_EQ(Problem(), before + "has a { that is not closed; write {{ for the character");
  SetParameter("Text", "x}");
  EXPECT_EQ(Problem(), before + "has a } that closes nothing; write }} for the character");
  SetParameter("Text", "{Name}");
  EXPECT_NE(Problem().find("has {Name}, which is no value; write "), std::string::npos) << Problem();
  SetParameter("Text", "x");
  SetText("/Data/Text", "no number");
  SetParameter("Number", "{/Data/Text}");
  EXPECT_EQ(Problem(), "the parameter " + PathOf("Number") +
                           " is \"no number\"; it takes a whole number of 32 bits (__type=\"int\")");
}

TEST_F(ParameterTextTest, WorkKeepsItsValuesOverAStopButNoVariables) {
  SetText("/Data/Text", "{at} the beginning");
  SetText("/Orvflow/Environment", "PATH");
  SetParameter("Text", "{/Data/Text}|{env:PATH}");
  const std::string expected = std::string("{at} the beginning|") + std::getenv("PATH");
  for (const char* signal : {"read", "resume", "resume"}) {
    const NodePointer node = Make<LongReader>();
    EXPECT_TRUE(node->Signal(signal));
    EXPECT_TRUE(node->StopWork());
    EXPECT_EQ(static_cast<LongReader*>(node.get())->text, expected) << signal;
    SetText("/Data/Text", "later");
  }
  const Sdk::NodeRecord kept(*dictionary_, "/WorkerNodes/Reader/Instance");
  EXPECT_EQ(kept.Texts("Text"), std::vector<std::string>{"{{at}} the beginning|{env:PATH}"});
  const NodePointer node = Make<LongReader>();
  EXPECT_TRUE(node->Signal("read"));
  EXPECT_TRUE(node->StopWork());
  EXPECT_EQ(static_cast<LongReader*>(node.get())->text, std::string("later|") + std::getenv("PATH"));
}

TEST_F(ParameterTextTest, WorkDoesNotBeginWithWhatCannotBeRead) {
  SetParameter("Number", "{/Data/Nothing}");
  const NodePointer node = Make<LongReader>();
  EXPECT_THROW(node->Signal("read"), std::runtime_error);
  EXPECT_FALSE(node->StopWork());
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
