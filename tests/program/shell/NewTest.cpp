// orvflow new: the files that it makes, the names that it refuses, and what it leaves alone.
#include <gmock/gmock.h>

#include <filesystem>
#include <map>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Names to texts.
std::map<std::string, std::string> FilesIn(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = ReadFile(entry.path());
  }
  return files;
}

std::map<std::string, std::string> TemplateOf(const std::string& kind, const std::string& token,
                                              const std::string& name) {
  std::map<std::string, std::string> files;
  for (const auto& [file, text] : FilesIn(SourceFolder() / "orvflow" / "new" / "templates" / kind)) {
    files[Replaced(file, token, name)] = Replaced(text, token, name);
  }
  return files;
}

class NewTest : public ProgramFixture {
 protected:
  ProcessResult New(const std::string& kind, const std::string& name) const {
    return Run({"new", kind, name, "--into", directory_.path().string()});
  }
  bool IsEmpty() const { return fs::is_empty(directory_.path()); }
};

TEST_F(NewTest, ANodeIsItsTemplateUnderItsName) {
  const ProcessResult result = New("node", "LineCounter");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  const auto files = FilesIn(directory_.path() / "LineCounter");
  EXPECT_EQ(files, TemplateOf("node", "NewNode", "LineCounter"));
  ASSERT_EQ(files.size(), 5u);
  EXPECT_THAT(files.at("LineCounter.cpp"), HasSubstr("class LineCounter final"));
  for (const auto& [name, text] : files) {
    EXPECT_THAT(text, Not(HasSubstr("NewNode"))) << name;
    EXPECT_THAT(result.output, HasSubstr("LineCounter/" + name + "\n"));
  }
  EXPECT_THAT(result.output, HasSubstr("  cmake --build build\n"));
}

TEST_F(NewTest, AHostIsItsTemplateUnderItsName) {
  EXPECT_EQ(New("host", "Clock_2").exit_code, 0);
  const auto files = FilesIn(directory_.path() / "Clock_2");
  EXPECT_EQ(files, TemplateOf("host", "NewHost", "Clock_2"));
  EXPECT_THAT(files.at("CMakeLists.txt"), HasSubstr("add_executable(Clock_2 Clock_2.cpp)"));
}

TEST_F(NewTest, AFlowRunsAtOnce) {
  EXPECT_EQ(New("flow", "Nightly").exit_code, 0);
  EXPECT_EQ(FilesIn(directory_.path() / "Nightly"), TemplateOf("flow", "NewFlow", "Nightly"));
  const std::string flow = (directory_.path() / "Nightly" / "flow.xml").string();
  const ProcessResult check = Run({"check", flow});
  EXPECT_EQ(check.exit_code, 0);
  EXPECT_EQ(check.output + check.error, "");
  const ProcessResult run = Run({"run", flow});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_THAT(run.output, HasSubstr("Nightly: 4 signals delivered"));
  EXPECT_EQ(run.error, "");
}

// Its node is in the plug-in that was built from the same template.
TEST_F(NewTest, TheFlowOfANodeRuns) {
  const std::string flow = (SourceFolder() / "orvflow" / "new" / "templates" / "node" / "flow.xml").string();
  EXPECT_EQ(Run({"check", flow}).exit_code, 0);
  const ProcessResult run = Run({"run", flow, "--state", File("state.xml")});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_THAT(run.output, HasSubstr("2 signals delivered, 2 nodes made, 0 failures"));
}

TEST_F(NewTest, NamesThatCannotBeAreRefused) {
  const std::string long_name(65, 'a');
  for (const char* name :
       {"x-y",   "2nd",  "_x",   "a b", "a/b", "../x",     "x.cpp", "",     "\xC3\xA4hre", "class",          "co_await",
        "linux", "NULL", "a__b", "std", "Sdk", "OnSignal", "con",   "Com1", "LPT9",        long_name.c_str()}) {
    const ProcessResult result = New("node", name);
    EXPECT_EQ(result.exit_code, 2) << name;
    EXPECT_THAT(result.error, HasSubstr("orvflow: new: " + std::string(name))) << result.error;
  }
  EXPECT_THAT(New("node", "Dictionary").error, HasSubstr("the library has an object of that name"));
  EXPECT_THAT(New("host", "clean").error, HasSubstr("CMake makes something of that name"));
  EXPECT_EQ(New("flow", "con").exit_code, 2);
  EXPECT_TRUE(IsEmpty());
  // These are no words of C++ there.
  EXPECT_EQ(New("flow", "class").exit_code, 0);
  EXPECT_EQ(New("host", "linux").exit_code, 0);
}

TEST_F(NewTest, TheCommandLineIsHelpedWith) {
  EXPECT_THAT(New("hst", "X").error, HasSubstr("did you mean host?"));
  EXPECT_EQ(Run({"new"}).exit_code, 2);
  EXPECT_EQ(Run({"new", "node"}).exit_code, 2);
  EXPECT_EQ(Run({"new", "node", "A1", "B1"}).exit_code, 2);
  const ProcessResult result = Run({"new", "node", "LineCounter", "--into", File("nowhere")});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("nowhere: no such folder"));
  EXPECT_TRUE(IsEmpty());
}

TEST_F(NewTest, WhatIsThereStays) {
  fs::create_directory(directory_.path() / "Folder");
  WriteFile(directory_.path() / "File", "mine");
  for (const char* name : {"Folder", "File"}) {
    const ProcessResult result = New("node", name);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.error, HasSubstr(std::string(name) + ": is there already; choose another name"));
  }
  EXPECT_TRUE(fs::is_empty(directory_.path() / "Folder"));
  EXPECT_EQ(ReadFile(File("File")), "mine");
}

TEST_F(NewTest, AFolderMayHaveAnyName) {
  const std::u8string odd = u8"ordner \u00e4\u0416";
  fs::create_directory(directory_.path() / odd);
  const std::u8string parent = (directory_.path() / odd).u8string();
  const ProcessResult result = Run({"new", "flow", "Nightly", "--into", std::string(parent.begin(), parent.end())});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_TRUE(fs::exists(directory_.path() / odd / "Nightly" / "flow.xml"));
}

}  // namespace
}  // namespace orv_test
