// orvflow replay: a recorded run once more, with plug-ins that are as they were, or not.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/program/support/RecordedRunFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

class ReplayVerbTest : public RecordedRunFixture {
 protected:
  std::string Mode() const { return File("mode"); }
  void SetMode(const std::string& mode) const { WriteFile(Mode(), mode); }

  // A counts to the limit; B marks each number.
  std::string FickleFlow(const std::string& type = "FickleNode") const {
    return WriteFlow(
        {{type, "A", "ProgramNodes", {"out=" + type + ",A,go", "told=ScribblingNode,B,go"}}, {"ScribblingNode", "B"}},
        type + ",A,go");
  }
  void RunFickle(int limit = 5) const {
    const ProcessResult result = RunRecorded(
        FickleFlow(), {"--set", "/Counting/Limit=" + std::to_string(limit), "--set", "/Counting/Mode:str=" + Mode()});
    ASSERT_TRUE(std::filesystem::exists(Record())) << result.error;
    ASSERT_FALSE(std::filesystem::exists(File("flow.state.xml.record")));
  }

  ProcessResult Replay(const Arguments& more = {}) const {
    Arguments arguments = {"replay", Record()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }

  // Of each file in the test's folder.
  std::map<std::string, std::string> AllBytes() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      all[entry.path().string()] = entry.is_regular_file() ? ReadFile(entry.path()) : "folder";
    }
    return all;
  }

  static void ExpectFits(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
  }
};

TEST_F(ReplayVerbTest, WhatIsAsItWasIsCounted) {
  RunFickle();
  const std::map<std::string, std::string> before = AllBytes();
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 0) << result.output << result.error;
  EXPECT_EQ(result.output, "run 1: 10 deliveries replayed as recorded\n");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(AllBytes(), before) << "nothing of the run is touched";
  EXPECT_EQ(Replay({"--to", "4"}).output, "run 1: 4 deliveries replayed as recorded\n");
}

TEST_F(ReplayVerbTest, ANodeThatWritesSomethingElseIsNamed) {
  RunFickle();
  SetMode("write");
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, StartsWith("run 1: delivery 5 differs from the record\n  FickleNode A, with \"go\", "));
  EXPECT_THAT(result.output, HasSubstr(" s after the run began\n"
                                       "  wrote:\n"
                                       "  - /Counting/Fickle: int 3\n"
                                       "  + /Counting/Fickle: int 4\n"
                                       "- as recorded, + as it is now\n"
                                       "run 1: 4 deliveries replayed as recorded\n"));
  ExpectFits(result.output);
  EXPECT_EQ(Replay({"--to", "4"}).exit_code, 0) << "it differs behind that only";
}

TEST_F(ReplayVerbTest, ANodeThatReadsTheClockIsNamed) {
  SetMode("always-clock");
  RunFickle();
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, StartsWith("run 1: delivery 1 differs from the record\n  FickleNode A, with \"go\", "));
  EXPECT_THAT(result.output, HasSubstr("\n  - /Counting/When: "));
  EXPECT_THAT(result.output, HasSubstr("\n  + /Counting/When: "));
}

TEST_F(ReplayVerbTest, ANodeThatWritesMoreIsNamed) {
  RunFickle();
  SetMode("clock");
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  wrote:\n    /Counting/Fickle: int 3\n  + /Counting/When: str "));
}

TEST_F(ReplayVerbTest, ANodeThatFiresInAnotherOrderIsNamed) {
  RunFickle();
  SetMode("order");
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.output, StartsWith("run 1: delivery 5 differs from the record\n  FickleNode A, with \"go\", "));
  EXPECT_THAT(result.output, HasSubstr("\n  fired:\n"
                                       "  - told -> B.go\n"
                                       "  - out -> A.go\n"
                                       "  + out -> A.go\n"
                                       "  + told -> B.go\n"
                                       "- as recorded"));
}

TEST_F(ReplayVerbTest, ANodeThatAnswersSomethingElseIsNamed) {
  RunFickle();
  SetMode("refuse");
  EXPECT_THAT(Replay().output, HasSubstr("\n  answered:\n  - accepted\n  + refused\n- as recorded"));
  SetMode("throw");
  const ProcessResult thrown = Replay();
  EXPECT_EQ(thrown.exit_code, 1);
  EXPECT_THAT(thrown.output, HasSubstr("\n  answered:\n  - accepted\n  + threw: as it likes\n  fired:\n"));
}

TEST_F(ReplayVerbTest, ANodeThatEndsTheProcessOrHangsIsNamed) {
  RunFickle();
  const std::string who = "run.record: delivery 5: FickleNode A, with \"go\": ";
  for (const char* const mode : {"crash", "exit"}) {
    SetMode(mode);
    const ProcessResult result = Replay();
    EXPECT_EQ(result.exit_code, 1) << mode;
    EXPECT_THAT(result.error, HasSubstr(who + "the plug-in has ended the process\n")) << mode;
    EXPECT_EQ(result.output, "");
  }
  SetMode("hang");
  const ProcessResult result = Replay({"--timeout", "2"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error, HasSubstr(who + "does not return within 2 s; ended without it\n"));
}

TEST_F(ReplayVerbTest, JsonIsAsItsSchemaSays) {
  RunFickle();
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "replay.schema.json").string()));
  for (const char* const mode : {"", "write", "order", "throw"}) {
    SetMode(mode);
    const Json shown = Json::parse(Replay({"--json"}).output);
    for (const auto& [name, value] : shown.items()) EXPECT_TRUE(schema["properties"].contains(name)) << name;
    for (const Json& name : schema["required"]) EXPECT_TRUE(shown.contains(name.get<std::string>())) << name;
    if (*mode == '\0') {
      EXPECT_TRUE(shown["difference"].is_null());
      continue;
    }
    const Json& form = schema["properties"]["difference"];
    for (const auto& [name, value] : shown["difference"].items())
      EXPECT_TRUE(form["properties"].contains(name)) << name;
    for (const Json& name : form["required"]) EXPECT_TRUE(shown["difference"].contains(name.get<std::string>()));
    const Json& deeds = schema["$defs"]["deeds"]["properties"];
    for (const char* const side : {"recorded", "replayed"}) {
      for (const auto& [name, value] : shown["difference"][side].items()) EXPECT_TRUE(deeds.contains(name)) << name;
    }
    EXPECT_EQ(shown["difference"]["delivery"], 5);
  }
  SetMode("write");
  const Json difference = Json::parse(Replay({"--json"}).output)["difference"];
  EXPECT_EQ(difference["differs"], Json::parse(R"(["wrote"])"));
  EXPECT_EQ(difference["recorded"]["wrote"][0],
            Json::parse(R"({"operation": "set value", "path": "/Counting/Fickle", "other": "", "type": "int",
                            "texts": ["3"]})"));
  EXPECT_EQ(difference["replayed"]["wrote"][0]["texts"][0], "4");
}

// Nodes that act outside, and those that do not say, do it again only if that is asked for.
TEST_F(ReplayVerbTest, WhatActsOutsideIsLeftAlone) {
  const std::string log = File("log");
  const std::string flow = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=TallyNode,A,go"}},
                                      {"TallyNode", "A", "ProgramNodes", {"out=TallyNode,A,go"}}},
                                     "CountingNode,A,go");
  RunRecorded(flow, {"--set", "/Counting/Limit=3", "--set", "/Counting/Log=" + log});
  const std::string written = ReadFile(log);
  ASSERT_EQ(written, "A1\nA1\nA2\nA3\n");
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.output,
            "run 1: 0 deliveries replayed as recorded, 4 taken from the record:\n"
            "  3: their nodes act outside; see --act (TallyNode)\n"
            "  1: their nodes do not say whether they act outside; see --act (CountingNode)\n");
  EXPECT_EQ(ReadFile(log), written);
  EXPECT_EQ(Replay({"--act"}).output, "run 1: 4 deliveries replayed as recorded\n");
  EXPECT_EQ(ReadFile(log), written + written);
}

TEST_F(ReplayVerbTest, ThreadsOfNodesAreTakenFromTheRecord) {
  const std::string flow =
      WriteFlow({{"BusyNode", "A", "ProgramNodes", {"done=FickleNode,B,go"}}, {"FickleNode", "B"}}, "BusyNode,A,go");
  RunRecorded(flow);
  const ProcessResult result = Replay({"--act"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.output,
            "run 1: 1 delivery replayed as recorded, 1 taken from the record:\n"
            "  1: their nodes work on threads of their own (BusyNode)\n");
}

// What a node reads while others write nobody can say afterwards; it is not told as a difference.
TEST_F(ReplayVerbTest, WhatOthersChangeMeanwhileIsNoDifference) {
  const std::string flow = WriteFlow({{"MeddlingNode", "M", "ProgramNodes", {"told=FickleNode,A,go"}},
                                      {"FickleNode", "A", "ProgramNodes", {"out=FickleNode,A,go"}}},
                                     "MeddlingNode,M,go");
  RunRecorded(flow, {"--set", "/Counting/Limit=300"});
  const ProcessResult result = Replay({"--json"});
  EXPECT_EQ(result.exit_code, 0) << result.output << result.error;
  const Json shown = Json::parse(result.output);
  std::map<std::string, int> left;
  for (const Json& one : shown["from_record"]) left[one["reason"].get<std::string>()] = one["deliveries"].get<int>();
  EXPECT_EQ(left["own_thread"], 1);
  EXPECT_EQ(shown["replayed"].get<int>() + left["changed_by_others"], 300);
  EXPECT_EQ(left.size(), 2U) << shown;
}

// It builds up as in the run; where the run did not begin with it, nobody knows it.
TEST_F(ReplayVerbTest, StateOfANodesOwnIsThatOfTheRun) {
  const std::string flow = FickleFlow("RememberingNode");
  RunRecorded(flow, {"--set", "/Counting/Limit=3"});
  EXPECT_EQ(Replay().output, "run 1: 6 deliveries replayed as recorded\n");
  RunRecorded(flow, {"--fresh", "--set", "/Counting/Limit=1", "--set", "/Counting/Ill:int=1"});
  EXPECT_EQ(Replay().output, "run 2: 2 deliveries replayed as recorded\n");
  RunRecorded(flow, {"--retry", "--set", "/Counting/Limit=1", "--set", "/Counting/Ill:int=0"});
  EXPECT_THAT(Replay().output, HasSubstr("\n  1: the own state of their nodes is not recorded (RememberingNode)\n"));
}

TEST_F(ReplayVerbTest, ARunThatGoesOnOrWasKilledIsReplayedAsFarAsItIsThere) {
  SetMode("hang");
  const std::string flow = FickleFlow();
  const std::string expected =
      "run 1: 4 deliveries replayed as recorded, 1 taken from the record:\n"
      "  1: the record ends before their end (FickleNode)\n";
  {
    const ChildProcess process(ORVFLOW_PROGRAM, {"run", flow, "--record", Record(), "--set", "/Counting/Limit=5",
                                                 "--set", "/Counting/Mode:str=" + Mode()});
    ProcessResult result;
    for (int i = 0; i < 600 && result.output != expected; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      if (std::filesystem::exists(Record())) result = Replay();
    }
    EXPECT_EQ(result.output, expected) << result.error;
    EXPECT_EQ(result.exit_code, 0) << result.error;
  }
  EXPECT_EQ(Replay().output, expected) << "killed";
  EXPECT_EQ(Run({"replay", File("flow.state.xml.record")}).output, expected);
}

TEST_F(ReplayVerbTest, APlugInThatIsGoneIsSaid) {
  std::filesystem::path library;
  for (const char* const name : {"libProgramNodes.so", "ProgramNodes.dll"}) {
    const std::filesystem::path file = std::filesystem::path(ORVFLOW_PROGRAM).parent_path() / name;
    if (std::filesystem::exists(file)) library = file;
  }
  const std::filesystem::path copy = directory_.path() / library.filename();
  std::filesystem::copy_file(library, copy);
  const std::string flow = WriteFlow({{"FickleNode", "A", copy.string()}}, "FickleNode,A,go");
  EXPECT_EQ(RunRecorded(flow).exit_code, 0);
  EXPECT_EQ(Replay().exit_code, 0);
  std::filesystem::remove(copy);
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("run.record: /WorkFlowEngine/WorkNodes/FickleNode/Binaries/win32_bin: "));
}

TEST_F(ReplayVerbTest, WhatCannotBeReplayedIsSaid) {
  RunFickle();
  EXPECT_EQ(Run({"replay"}).exit_code, 2);
  EXPECT_EQ(Run({"replay", File("missing")}).exit_code, 1);
  EXPECT_EQ(Run({"replay", File("flow.xml")}).exit_code, 5);
  for (const char* const number : {"0", "x", "1.5", ""}) EXPECT_EQ(Replay({"--to", number}).exit_code, 2) << number;
  for (const char* const limit : {"0", "-1", "x", "1e9"}) EXPECT_EQ(Replay({"--timeout", limit}).exit_code, 2) << limit;
  EXPECT_EQ(Replay({"--plugin-path", File("nowhere")}).exit_code, 2);
  const ProcessResult beyond = Replay({"--to", "99"});
  EXPECT_EQ(beyond.exit_code, 1);
  EXPECT_THAT(beyond.error,
              HasSubstr("run.record: run 1 has no end of a delivery 99; the last one that ended is 10\n"));
  EXPECT_THAT(Replay({"--run", "2"}).error, HasSubstr("run.record: holds no run 2\n"));
  const std::string bytes = ReadFile(Record());
  const std::size_t end = bytes.find_last_not_of('\0');
  std::string damaged = bytes;
  damaged[end - 40] = static_cast<char>(damaged[end - 40] ^ 0x10);
  damaged.resize(damaged.size() + 70000, 'x');
  WriteFile(Record(), damaged);
  const ProcessResult result = Replay();
  EXPECT_EQ(result.exit_code, 5) << result.error;
  EXPECT_THAT(result.output, HasSubstr(" deliveries replayed as recorded"));
}

}  // namespace
}  // namespace orv_test
