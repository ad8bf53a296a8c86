// What a schema refuses, said by xmllint: tests/cases/schema-refuses.txt, and nothing of what is clean.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class ValidationTest : public ProgramFixture {
 protected:
  static fs::path Cases() { return SourceFolder() / "tests" / "cases"; }
  static std::string Case(const std::string& name) { return (Cases() / "flows" / (name + ".xml")).string(); }

  std::string MakeSchema(const Arguments& more) const {
    const std::string file = File("workflow.xsd");
    Arguments words = {"schema",    "ArchiveNodes", "BackupNodes", "BridgeNodes", "DataNodes", "FileNodes",
                       "FlowNodes", "ProcessNodes", "SqlNodes",    "WebNodes",    "-o",        file};
    words.insert(words.end(), more.begin(), more.end());
    const ProcessResult result = Run(words);
    EXPECT_EQ(result.exit_code, 0) << result.error;
    return file;
  }

  // Those of the files that are refused.
  static std::set<std::string> Refused(const std::string& schema, const std::vector<std::string>& files) {
    Arguments words = {"xmllint", "--noout", "--schema", schema};
    words.insert(words.end(), files.begin(), files.end());
    const ProcessResult result = RunProcess("/usr/bin/env", words);
    std::set<std::string> refused;
    for (const std::string& file : files) {
      const bool is_refused = result.error.find(file + " fails to validate\n") != std::string::npos;
      if (is_refused) refused.insert(file);
      EXPECT_NE(is_refused, result.error.find(file + " validates\n") != std::string::npos) << result.error;
    }
    return refused;
  }

  // A case in which nothing is found, or notes alone.
  static bool IsClean(const fs::path& expected) {
    std::istringstream lines(ReadFile(expected));
    std::string line;
    while (std::getline(lines, line)) {
      if (!line.empty() && !line.starts_with("note ")) return false;
    }
    return true;
  }
};

TEST_F(ValidationTest, WhatIsCleanIsTaken) {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(SourceFolder() / "examples")) {
    if (entry.path().parent_path().filename() == "10_own_node") continue;  // Its plug-in is not one of these.
    if (entry.path().extension() == ".xml" && entry.path().stem().extension() != ".state") {
      files.push_back(entry.path().string());
    }
  }
  for (const char* kind : {"flow", "host"}) {
    files.push_back((SourceFolder() / "orvflow" / "new" / "templates" / kind / "flow.xml").string());
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(Cases() / "flows")) {
    if (entry.path().extension() == ".expected" && IsClean(entry.path())) {
      files.push_back(Case(entry.path().stem().string()));
    }
  }
  EXPECT_GT(files.size(), 7u);
  EXPECT_EQ(Refused(MakeSchema({}), files), std::set<std::string>{});
  for (const std::string& file : files) {
    EXPECT_EQ(Refused(MakeSchema({"--flow", file}), {file}), std::set<std::string>{});
  }
}

TEST_F(ValidationTest, WhatTheListNamesIsRefused) {
  std::vector<std::string> by_any;
  std::vector<std::string> by_own;
  std::istringstream lines(ReadFile(Cases() / "schema-refuses.txt"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    const std::string name = line.substr(0, line.find(' '));
    (line == name ? by_any : by_own).push_back(Case(name));
  }
  EXPECT_GT(by_any.size(), 40u);
  EXPECT_EQ(Refused(MakeSchema({}), by_any), std::set<std::string>(by_any.begin(), by_any.end()));
  EXPECT_GT(by_own.size(), 8u);
  EXPECT_EQ(Refused(MakeSchema({}), by_own), std::set<std::string>{});
  for (const std::string& file : by_own) {
    EXPECT_EQ(Refused(MakeSchema({"--flow", file}), {file}), std::set<std::string>{file});
  }
}

}  // namespace
}  // namespace orv_test
