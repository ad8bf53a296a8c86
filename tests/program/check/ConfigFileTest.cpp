// Parameters in the file that an instance names as its configuration are looked at before the run.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

constexpr char kInstance[] = "/WorkFlowEngine/WorkNodes/FileCopier/Instances/A";

class ConfigFileTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"FileCopier", "A", "BackupNodes"}}, "FileCopier,A,next");
    config_ = File("config.xml");
  }
  void Configure(const std::string& file) {
    ASSERT_EQ(Run({"dict", "set", flow_, std::string(kInstance) + "/ConfigFile", "str", file}).exit_code, 0);
  }
  void SetOverwrite(const std::string& value) {
    ASSERT_EQ(Run({"dict", "set", config_, "/Parameters/Overwrite", "str", value}).exit_code, 0);
  }
  static constexpr char kNoBoolean[] = ": /Parameters/Overwrite is \"perhaps\"; it takes ";

  std::string flow_;
  std::string config_;
};

TEST_F(ConfigFileTest, AValueThatTheNodeDoesNotTakeIsFoundBeforeTheRun) {
  SetOverwrite("perhaps");
  for (const std::string& file : {config_, std::string("$Test/config.xml")}) {
    Configure(file);
    const ProcessResult result = Run({"run", flow_});
    EXPECT_EQ(result.exit_code, 5) << result.error;
    const std::string begin = "orvflow: " + flow_ + ": " + kInstance + "/ConfigFile: " + file + kNoBoolean;
    EXPECT_NE(result.error.find(begin), std::string::npos) << result.error;
    EXPECT_EQ(result.output, "");
  }
}

TEST_F(ConfigFileTest, AValueThatTheNodeTakesIsNone) {
  SetOverwrite("no");
  Configure(config_);
  EXPECT_EQ(Run({"run", flow_}).error.find("ConfigFile"), std::string::npos);
}

TEST_F(ConfigFileTest, WhatTheWorkflowSetsItselfIsNotReadThere) {
  SetOverwrite("perhaps");
  Configure(config_);
  ASSERT_EQ(Run({"dict", "set", flow_, std::string(kInstance) + "/Parameters/Overwrite", "Bool", "true"}).exit_code, 0);
  EXPECT_EQ(Run({"run", flow_}).error.find("/Parameters/Overwrite"), std::string::npos);
}

TEST_F(ConfigFileTest, AFileThatIsNotThereYetIsTheNodesAffair) {
  Configure(File("later.xml"));
  EXPECT_NE(Run({"run", flow_}).exit_code, 5);
}

}  // namespace
}  // namespace orv_test
