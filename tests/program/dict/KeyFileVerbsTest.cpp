// orvflow run and orvflow dict with --key-file: what they read and leave is enciphered.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class KeyFileVerbsTest : public ProgramFixture {
 protected:
  KeyFileVerbsTest() {
    WriteFile(File("key"), "a key\n");
    WriteFile(File("other key"), "another key\n");
  }

  ProcessResult RunWith(const std::string& key, Arguments arguments) const {
    arguments.insert(arguments.end(), {"--key-file", File(key)});
    return Run(arguments);
  }
  void EncipherFile(const std::string& file) const {
    const ProcessResult enciphered = Run({"encrypt", "--key-file", File("key")}, ReadFile(file));
    ASSERT_EQ(enciphered.exit_code, 0) << enciphered.error;
    WriteFile(file, enciphered.raw_output);
  }
  static void ExpectEnciphered(const std::string& file) {
    const std::string content = ReadFile(file);
    EXPECT_GT(content.size(), 100U) << file;
    EXPECT_EQ(content.find('<'), std::string::npos) << file;
  }
  // Leaves the file as it is.
  static void ExpectRefused(const ProcessResult& result, const std::string& file, const std::string& content) {
    EXPECT_EQ(result.exit_code, 5) << result.output;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error.rfind("orvflow: " + file + ": ", 0), 0U) << result.error;
    EXPECT_EQ(ReadFile(file), content);
  }
};

TEST_F(KeyFileVerbsTest, AnEncipheredWorkflowIsSavedAndContinued) {
  const std::string flow = WriteFlow(
      {{"Restarter", "R", "FlowNodes", {"restarted=CountingNode,A,go"}}, {"CountingNode", "A"}}, "Restarter,R,restart");
  const std::string state = File("flow.state.xml");
  EncipherFile(flow);
  const std::string enciphered = ReadFile(flow);
  ExpectRefused(Run({"run", flow}), flow, enciphered);
  ExpectRefused(RunWith("other key", {"run", flow}), flow, enciphered);
  EXPECT_FALSE(std::filesystem::exists(state));

  const ProcessResult first = RunWith("key", {"run", flow});
  EXPECT_EQ(first.exit_code, 6) << first.error;
  EXPECT_NE(first.error.find("saved in " + state), std::string::npos) << first.error;
  ExpectEnciphered(state);
  const std::string saved = ReadFile(state);
  EXPECT_EQ(RunWith("key", {"dict", "get", state, "/WorkFlowEngine/WorkFlowName"}).output, "Test\n");
  ExpectRefused(RunWith("other key", {"run", flow}), flow, enciphered);
  EXPECT_EQ(ReadFile(state), saved);

  // A state under another key is neither used nor overwritten.
  WriteFile(state, Run({"encrypt", "--key-file", File("other key")}, "<IDictionaryRoot/>").raw_output);
  const std::string foreign = ReadFile(state);
  ExpectRefused(RunWith("key", {"run", flow}), state, foreign);
  WriteFile(state, saved);

  const ProcessResult second = RunWith("key", {"run", flow, "--set", "/Counting/Limit=1"});
  EXPECT_EQ(second.exit_code, 0) << second.error;
  EXPECT_EQ(second.error, "");
  EXPECT_EQ(second.output.substr(0, second.output.find('\n')), "Test: continues from " + state);
  EXPECT_NE(second.output.find("2 signals delivered, 2 nodes made"), std::string::npos) << second.output;
  EXPECT_FALSE(std::filesystem::exists(state));
  EXPECT_EQ(ReadFile(flow), enciphered);
}

TEST_F(KeyFileVerbsTest, ADictionaryIsReadAndEditedUnderItsKey) {
  const std::string file = File("d.xml");
  const auto dict = [&](const std::string& key, const std::string& action, const Arguments& more) {
    Arguments arguments = {"dict", action, file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunWith(key, arguments);
  };
  EXPECT_EQ(dict("key", "set", {"/a/b", "str", "a secret"}).exit_code, 0);
  ExpectEnciphered(file);
  EXPECT_EQ(dict("key", "get", {"/a/b"}).output, "a secret\n");
  EXPECT_EQ(dict("key", "set", {"/a/c", "int", "5"}).exit_code, 0);
  EXPECT_EQ(dict("key", "remove", {"/a/b"}).exit_code, 0);
  ExpectEnciphered(file);
  EXPECT_EQ(dict("key", "paths", {}).output, "/\n/a\n/a/c\n/IDictionaryNameValPairs\n");
  const std::string content = ReadFile(file);
  for (const char* action : {"get", "remove"}) {
    ExpectRefused(dict("other key", action, {"/a/c"}), file, content);
    ExpectRefused(Run({"dict", action, file, "/a/c"}), file, content);
  }
  EXPECT_EQ(dict("no key", "get", {"/a/c"}).exit_code, 1);
}

TEST_F(KeyFileVerbsTest, APlainFileIsReadWithAKeyAndSavedUnderIt) {
  const std::string file = File("d.xml");
  EXPECT_EQ(Run({"dict", "set", file, "/a", "str", "a secret"}).exit_code, 0);
  EXPECT_NE(ReadFile(file).find("a secret"), std::string::npos);
  EXPECT_EQ(RunWith("key", {"dict", "get", file, "/a"}).output, "a secret\n");
  EXPECT_EQ(RunWith("key", {"dict", "set", file, "/b", "int", "1"}).exit_code, 0);
  ExpectEnciphered(file);
  EXPECT_EQ(RunWith("key", {"dict", "get", file, "/a"}).output, "a secret\n");
}

}  // namespace
}  // namespace orv_test
