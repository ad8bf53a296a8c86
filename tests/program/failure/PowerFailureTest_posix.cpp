// Runs at level "power" on disks that fail and fill.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

constexpr int kMarks = 40;

class PowerFailureTest : public FailureFixture {
 protected:
  // A counts to the limit, a delivery after the other; each acts outside, and so does B, which it tells.
  void SetUp() override {
    const auto text = [](const std::string& name, const std::string& value) {
      return "<" + name + " __type=\"str\">" + value + "</" + name + ">";
    };
    const std::string maps = "<maps><out>" + text("map0", "TallyNode,B,go") + text("map1", "TallyNode,A,go") +
                             "</out><end>" + text("map0", "TallyNode,B,go") + "</end></maps>";
    WriteFile(flow_,
              "<IDictionaryRoot><WorkFlowEngine>" + text("WorkFlowName", "Test") + "<AbsorbTree>" +
                  text("node0", "Test") + "</AbsorbTree><Mappings><StartSignal>" +
                  text("ReceiverTypeName", "TallyNode") + text("ReceiverInstanceName", "A") +
                  text("IncomingSignalName", "go") + "</StartSignal></Mappings><WorkNodes><TallyNode><Binaries>" +
                  text("win32_bin", "ProgramNodes") + "</Binaries><Instances><A>" + maps +
                  "</A><B/></Instances></TallyNode></WorkNodes></WorkFlowEngine><Counting>" + text("Log", File("log")) +
                  "<Limit __type=\"int\">" + std::to_string(kMarks / 2) + "</Limit></Counting></IDictionaryRoot>");
  }
  long CountOfSyncs(const std::string& level) {
    const std::string count = File("count");
    std::filesystem::remove(File("log"));
    const ProcessResult result =
        RunFailing({{"KIND", "fsync"}, {"COUNT", count}}, {"run", flow_, "--durable=" + level, "--checkpoint=0"});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    return std::atol(ReadFile(count).c_str());
  }

  const std::string flow_ = File("flow.xml");
};

// One for each that acts outside, and only then.
TEST_F(PowerFailureTest, EachDeliveryThatActsOutsideWaitsForTheDisk) {
  EXPECT_GE(CountOfSyncs("power"), kMarks);
  EXPECT_LT(CountOfSyncs("process"), kMarks / 2);
}

// The disk is also written beside the run, every now and then.
TEST_F(PowerFailureTest, ANodeThatWaitsItselfIsNotWaitedFor) {
  constexpr int kMany = 4000;
  std::string text = ReadFile(flow_);
  const auto replace = [&](const std::string& from, const std::string& to) {
    ASSERT_NE(text.find(from), std::string::npos);
    text.replace(text.find(from), from.size(), to);
  };
  replace(">" + std::to_string(kMarks / 2) + "<", ">" + std::to_string(kMany / 2) + "<");
  replace("<Counting>", "<Counting><Awaits __type=\"int\">1</Awaits>");
  WriteFile(flow_, text);
  EXPECT_LT(CountOfSyncs("power"), kMany / 2);
  EXPECT_NE(ReadFile(File("log")).find("B" + std::to_string(kMany / 2) + "\n"), std::string::npos);
}

// Each in turn fails, and the next run does the rest.
TEST_F(PowerFailureTest, ASyncThatFailsStopsTheRun) {
  const long syncs = CountOfSyncs("power");
  const std::string all = ReadFile(File("log"));
  int stopped = 0;
  for (long failure = 1; failure <= syncs; failure += 5) {
    SCOPED_TRACE(failure);
    std::filesystem::remove(File("log"));
    std::filesystem::remove(File("flow.state.xml"));
    std::filesystem::remove(File("flow.state.xml.record"));
    const ProcessResult result = RunFailing({{"KIND", "fsync"}, {"AT", std::to_string(failure)}},
                                            {"run", flow_, "--durable=power", "--checkpoint=0"});
    const bool told = result.error.find(
                          "flow.xml: the record is not safe from a power failure: the disk does not keep "
                          "it: Input/output error; the run stops") != std::string::npos;
    if (!told) continue;
    EXPECT_EQ(result.exit_code, 1) << result.error;
    if (result.error.find("stopped by its disk, saved in") != std::string::npos) ++stopped;
    if (std::filesystem::exists(File("flow.state.xml"))) {
      const ProcessResult next = Run({"run", flow_});
      EXPECT_EQ(next.exit_code, 0) << next.error;
    } else if (!std::filesystem::exists(File("log"))) {
      EXPECT_THAT(result.error, HasSubstr("is not run without a durable record"));
      EXPECT_EQ(Run({"run", flow_}).exit_code, 0);
    }
    EXPECT_EQ(ReadFile(File("log")), all) << result.error;
  }
  EXPECT_GT(stopped, 3);
}

// A run that has delivered its last signal by then.
TEST_F(PowerFailureTest, ASyncThatFailsAtTheEndIsAFailure) {
  const std::string flow = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  int at_the_end = 0;
  for (int failure = 1; failure < 12; ++failure) {
    SCOPED_TRACE(failure);
    const ProcessResult result =
        RunFailing({{"KIND", "fsync"}, {"AT", std::to_string(failure)}}, {"run", flow, "--durable=power", "--fresh"});
    const bool told = result.error.find("the record is not safe from a power failure") != std::string::npos;
    if (!told) continue;
    EXPECT_EQ(result.exit_code, 1) << result.error;
    if (result.output.find("1 signal delivered") != std::string::npos) ++at_the_end;
  }
  EXPECT_GT(at_the_end, 0);
}

// On a disk in memory, which the script fills and empties while the run, which has no end, is under way.
TEST_F(PowerFailureTest, AFullDiskHoldsTheRunUntilThereIsRoom) {
  const std::string script =
      "mount -t tmpfs -o size=100m tmpfs " + File("disk") +
      " || exit 77\n"
      "cd " +
      File("disk") +
      " && cp ../flow.xml . || exit 78\n"
      "sed -i 's/>" +
      std::to_string(kMarks / 2) + "</>100000000</' flow.xml\n" + ORVFLOW_PROGRAM +
      " run flow.xml --durable=power --checkpoint=0 >../out 2>../err & run=$!\n"
      "until grep -q A50 ../log 2>/dev/null; do sleep 0.02; done\n"
      "dd if=/dev/zero of=filler bs=1M 2>/dev/null\n"
      "until grep -q 'the run waits until there is some' ../err; do kill -0 $run || break; sleep 0.02; done\n"
      "before=$(wc -l <../log); sleep 0.5; echo $(($(wc -l <../log) - before))\n"
      "rm filler; until grep -q 'there is room again' ../err; do kill -0 $run || break; sleep 0.02; done\n"
      "kill $run; wait $run; echo $?";
  std::filesystem::create_directory(File("disk"));
  const ProcessResult result = RunProcess("/usr/bin/unshare", {"--mount", "sh", "-c", script});
  if (result.exit_code == 77 || result.error.find("unshare failed") != std::string::npos) {
    GTEST_SKIP() << "mounting is not permitted here";
  }
  const std::string error = ReadFile(File("err"));
  EXPECT_EQ(result.output, "0\n6\n") << result.error << error;
  EXPECT_THAT(error,
              HasSubstr("flow.xml: the disk has no more room for the record; the run waits until there is some"));
  EXPECT_THAT(error, HasSubstr("flow.xml: there is room again; the run goes on"));
}

}  // namespace
}  // namespace orv_test
