// Random workflows do again what they did.
//
// ORVFLOW_REPLAY_RUNS says how many; 40 by default.
#include <gtest/gtest.h>

#include <cstdlib>

#include "OrvWorkFlow/host/RunObserver.h"
#include "orvflow/replay/Replay.h"
#include "orvflow/replay/ReplayOutput.h"
#include "tests/journal/RandomRun.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;

unsigned Runs() {
  const char* const text = std::getenv("ORVFLOW_REPLAY_RUNS");
  return text == nullptr ? 40 : static_cast<unsigned>(std::atoi(text));
}

class EndCounter final : public Host::RunObserver {
 public:
  void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override { ++ended; }

  std::size_t ended = 0;
};

class ReplayOracleTest : public ProgramFixture {
 protected:
  // How many deliveries the run had.
  static std::size_t Record(const std::string& flow, const std::string& file) {
    Host::WorkflowHost host;
    EndCounter counter;
    RunRecorded(flow, file, host, counter);
    return counter.ended;
  }
};

TEST_F(ReplayOracleTest, RandomRunsAreReplayedAsRecorded) {
  const std::string file = File("record");
  const std::string flow = File("flow.xml");
  const std::string shown_name = "record";
  std::size_t deliveries = 0;
  for (unsigned seed = 0; seed < Runs(); ++seed) {
    WriteFile(file, "");
    WriteFile(flow, RandomFlowText(seed));
    const std::size_t ended = Record(flow, file);
    Program::ReplayPlan plan(0);
    Journal::Event event;
    for (Journal::RecordReader reader(file); reader.Next(&event);) plan.Take(event);
    Program::ReplayOptions options;
    options.acts = true;
    Program::ReplayHost host(seed % 2 == 0 ? 5 : 50'000);
    Program::Replay replay(host, plan, options, shown_name);
    bool is_over = false;
    for (Journal::RecordReader reader(file); !is_over && reader.Next(&event);) is_over = replay.Take(event);
    replay.Finish();
    const Program::ReplayResult& result = replay.result();
    ASSERT_FALSE(result.difference) << "seed " << seed << "\n" << Program::ReplayAsText(result, plan);
    ASSERT_EQ(result.replayed, ended) << "seed " << seed;
    deliveries += ended;
  }
  EXPECT_GT(deliveries, Runs() * 5);
}

}  // namespace
}  // namespace orv_test
