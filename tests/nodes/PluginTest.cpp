// The plug-in library as a host loads it.
#include <gtest/gtest.h>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow {
namespace {

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("BackupNodes")) << WorkFlowFactory::LastLoadError();
  }
  void TearDown() override { WorkFlowFactory::UnloadSharedLibraries(); }

  static std::vector<std::string> RegisteredNames() {
    const Sdk::TextListHolder names;
    EXPECT_TRUE(WorkFlowFactory::GetObjectTypeNames(names.get()));
    return names.Texts();
  }
};

const std::vector<std::string> kTypes = {"FolderCollector", "FileCopier", "ChecksumVerifier", "FailureCollector",
                                         "ReportWriter"};

TEST_F(PluginTest, RegistersItsTypesWhileItIsLoaded) {
  EXPECT_EQ(RegisteredNames(), kTypes);
  WorkFlowFactory::UnloadSharedLibraries();
  EXPECT_EQ(RegisteredNames(), std::vector<std::string>());
}

TEST_F(PluginTest, MakesNodesOfEachType) {
  for (const std::string& type : kTypes) {
    EXPECT_TRUE(WorkFlowFactory::IsWorkNodePresent(type.c_str())) << type;
    IWorkNode* const node = WorkFlowFactory::CreateNewWorkNode(type.c_str(), "One");
    ASSERT_NE(node, nullptr) << type;
    EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return node->GetTypeName(text); }), type);
    EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return node->GetInstanceName(text); }), "One");
    node->Release();
  }
}

TEST_F(PluginTest, ItsCreatorsCanBeClonedAndTellTheirVersion) {
  for (const std::string& type : kTypes) {
    IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(type.c_str());
    ASSERT_NE(creator, nullptr) << type;
    EXPECT_TRUE(creator->CreatesWorkNodes());
    EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return creator->GetObjectName(text); }), type);
    EXPECT_EQ(Sdk::TextFrom([&](IOrvPString* text) { return creator->GetVersion(text); }), "1.0");
    EXPECT_FALSE(creator->GetObjectName(nullptr));
    EXPECT_FALSE(creator->GetVersion(nullptr));
    creator->Destroy();
  }
}

}  // namespace
}  // namespace OrvWorkFlow
