// Every flow of tests/cases/flows has one mistake, and beside it, in NAME.expected, what is to be found: a line for
// each finding, "severity path: what; remedy".
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "flow/Check.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace OrvWorkFlow::Flow {
namespace {

std::filesystem::path Folder() { return orv_test::SourceFolder() / "tests" / "cases" / "flows"; }

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
    if (entry.path().extension() == ".xml") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};
using DictionaryPointer = std::unique_ptr<IDictionary, Releaser>;

DictionaryPointer Load(const std::filesystem::path& file) {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject("Dictionary");
  DictionaryPointer dictionary(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
  EXPECT_TRUE(dictionary->LoadFile(file.string().c_str())) << file;
  return dictionary;
}

CheckOptions Options() {
  CheckOptions options;
  options.load_library = [](const std::string& library, std::string& reason) {
    if (WorkFlowFactory::LoadSharedLibrary(library.c_str())) return true;
    reason = WorkFlowFactory::LastLoadError();
    return false;
  };
  return options;
}

std::string LinesOf(const Findings& findings) {
  static constexpr const char* kSeverities[] = {"error", "warning", "note"};
  std::string lines;
  for (const Finding& finding : findings) {
    lines += std::string(kSeverities[static_cast<int>(finding.severity)]) + " " + finding.path + ": " + finding.what;
    if (!finding.remedy.empty()) lines += "; " + finding.remedy;
    lines += "\n";
  }
  return lines;
}

class FlowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("CoreObjects")) << WorkFlowFactory::LastLoadError();
    ASSERT_NE(WorkFlowFactory::CreateNewGlobalObject("FileSystem"), nullptr);
  }
  void TearDown() override {
    WorkFlowFactory::ReleaseGlobalObjects();
    WorkFlowFactory::UnloadSharedLibraries();
  }
};

class BrokenFlowsTest : public FlowTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(BrokenFlowsTest, IsFound) {
  const std::string found = LinesOf(Check(*Load(Folder() / (GetParam() + ".xml")), Options()));
  EXPECT_EQ(found, orv_test::ReadFile(Folder() / (GetParam() + ".expected")));
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenFlowsTest, ::testing::ValuesIn(CaseNames()), [](const auto& test) {
  std::string name = test.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

TEST_F(FlowTest, TheExamplesAreClean) {
  for (const char* file : {"01_backup/flow.xml", "02_interrupted/flow.xml", "03_absorb/flow.xml"}) {
    EXPECT_EQ(LinesOf(Check(*Load(orv_test::SourceFolder() / "examples" / file), Options())), "") << file;
  }
  CheckOptions options = Options();
  options.is_guest = true;
  EXPECT_EQ(LinesOf(Check(*Load(orv_test::SourceFolder() / "examples/03_absorb/guest.xml"), options)), "");
}

TEST_F(FlowTest, WhatAnotherFlowMayBringIsAWarning) {
  const DictionaryPointer flow = Load(Folder() / "receiver-type-missing.xml");
  EXPECT_TRUE(HasErrors(Check(*flow, Options())));
  CheckOptions absorbing = Options();
  absorbing.takes_in_others = true;
  EXPECT_FALSE(HasErrors(Check(*flow, absorbing)));
  CheckOptions guest = Options();
  guest.is_guest = true;
  EXPECT_FALSE(HasErrors(Check(*flow, guest)));
}

TEST_F(FlowTest, ASavedStateGoesOnWithItsMistakes) {
  CheckOptions continued = Options();
  continued.is_continued = true;
  EXPECT_TRUE(HasErrors(Check(*Load(Folder() / "library-of-others.xml"), continued)));
  for (const char* name : {"mapping-empty", "nothing-to-begin-with", "parameter-word-for-a-boolean"}) {
    const Findings findings = Check(*Load(Folder() / (std::string(name) + ".xml")), continued);
    EXPECT_FALSE(HasErrors(findings)) << name;
  }
}

TEST_F(FlowTest, ACheckOnlyReads) {
  for (const std::string& name : CaseNames()) {
    const DictionaryPointer flow = Load(Folder() / (name + ".xml"));
    const std::uint64_t before = flow->GetChangeCount();
    Check(*flow, Options());
    EXPECT_EQ(flow->GetChangeCount(), before) << name;
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Flow
