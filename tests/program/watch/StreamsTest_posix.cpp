// Standard streams that are full, closed, endless or read by nobody.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

constexpr char kOutputLost[] = "orvflow: standard output cannot be written; is the disk full?\n";

class StreamsTest : public ProgramFixture {
 protected:
  StreamsTest() { WriteFile(File("key"), "the key\n"); }

  // A line for the shell, in which $0 is the program, $1 the test's directory and $2 what `argument` gives.
  ProcessResult RunLine(const std::string& line, const std::string& argument = "") const {
    return RunProcess("/bin/bash", {"-c", line, ORVFLOW_PROGRAM, directory_.path().string(), argument});
  }

  static std::vector<std::string> Printing() {
    return {"--help",
            "--version",
            "dict --help",
            "inspect BackupNodes",
            "path '$TEMP/x'",
            "run $2",
            "encrypt --key-file $1/key",
            "base64 encode"};
  }
};

TEST_F(StreamsTest, AFullDiskIsAFailure) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  for (const std::string& words : Printing()) {
    const ProcessResult result = RunLine("echo x | \"$0\" " + words + " > /dev/full", flow);
    EXPECT_EQ(result.exit_code, 1) << words;
    EXPECT_EQ(result.error, kOutputLost) << words;
  }
}

TEST_F(StreamsTest, AClosedOutputIsAFailure) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  for (const std::string& words : Printing()) {
    const ProcessResult result = RunLine("echo x | \"$0\" " + words + " >&-", flow);
    EXPECT_EQ(result.exit_code, 1) << words;
    EXPECT_EQ(result.error, kOutputLost) << words;
  }
}

TEST_F(StreamsTest, AClosedInputCannotBeRead) {
  for (const char* words : {"encrypt --key-file $1/key", "decrypt --key-file $1/key", "base64 encode"}) {
    const ProcessResult result = RunLine(std::string("\"$0\" ") + words + " <&-");
    EXPECT_EQ(result.exit_code, 1) << words;
    EXPECT_EQ(result.output, "") << words;
    EXPECT_EQ(result.error, "orvflow: standard input cannot be read\n") << words;
  }
  EXPECT_EQ(RunLine("\"$0\" match a <&-").exit_code, 2);
}

// With all three closed a file that the program opens must not take their places.
TEST_F(StreamsTest, WithoutAnyStreamAWorkflowRuns) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  const ProcessResult result = RunLine("\"$0\" run $2 --log $1/log <&- >&- 2>&-; echo $?", flow);
  EXPECT_EQ(result.output, "1\n") << "the summary is lost";
  EXPECT_EQ(ReadFile(File("log")).find("Test: "), std::string::npos) << "the summary stands in the log";
  EXPECT_NE(ReadFile(File("log")), "");
}

TEST_F(StreamsTest, APipeThatNobodyReadsEndsNothing) {
  // The reader has ended before the first byte is written.
  const ProcessResult result = RunLine("{ sleep 0.5; \"$0\" inspect BackupNodes; echo $? >&2; } | true");
  EXPECT_EQ(result.error, "orvflow: nobody reads standard output any more; not all was written\n1\n");
}

TEST_F(StreamsTest, AReaderThatHasEnoughIsNoFullDisk) {
  const ProcessResult result =
      RunLine("head -c 1000000 /dev/zero | { \"$0\" base64 encode; echo $? >&2; } | head -c 1");
  EXPECT_EQ(result.output, "A");
  EXPECT_EQ(result.error, "orvflow: nobody reads standard output any more; not all was written\n1\n");
}

TEST_F(StreamsTest, EndlessInputHasALimit) {
  for (const char* words : {"encrypt --key-file $1/key", "decrypt --list --key-file $1/key", "base64 encode"}) {
    const ProcessResult result = RunLine(std::string("\"$0\" ") + words + " < /dev/zero");
    EXPECT_EQ(result.exit_code, 1) << words;
    EXPECT_EQ(result.output, "") << words;
    EXPECT_EQ(result.error, "orvflow: standard input is longer than 64 MiB; give it in parts\n") << words;
  }
  const ProcessResult match = RunLine("\"$0\" match a < /dev/zero");
  EXPECT_EQ(match.exit_code, 2);
  EXPECT_EQ(match.error, "orvflow: match: standard input is longer than 64 MiB; give it in parts\n");
}

// Neither has an end that one could read to.
TEST_F(StreamsTest, ARecordIsAFile) {
  ASSERT_EQ(mkfifo(File("pipe").c_str(), 0600), 0);
  const std::string pipe = File("pipe");
  for (const Arguments& verb : {Arguments{"history"}, {"show"}, {"why"}, {"replay"}, {"ui"}}) {
    for (const std::string& file : {std::string("/dev/zero"), pipe}) {
      Arguments words = verb;
      words.push_back(file);
      if (words.front() == "why") words.emplace_back("A");
      const ProcessResult result = Run(words);
      EXPECT_EQ(result.exit_code, 1) << words.front();
      EXPECT_EQ(result.error, "orvflow: " + file + ": a device or a pipe, not a record\n") << words.front();
    }
  }
}

TEST_F(StreamsTest, TheLimitItselfIsTaken) {
  const ProcessResult result = RunLine("head -c $((64 << 20)) /dev/zero | \"$0\" base64 encode | wc -c");
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output, std::to_string(((64 << 20) + 2) / 3 * 4 + 1) + "\n");
}

}  // namespace
}  // namespace orv_test
