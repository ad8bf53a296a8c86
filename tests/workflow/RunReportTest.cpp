// A look at a running workflow while its nodes work.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/IRunReport.h"
#include "tests/fakes/RecordingObserver.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Lines final : public OrvWorkFlow::IRunReport {
 public:
  void NodeAtWork(const Work& work) override {
    const OrvWorkFlow::IRunObserver::Receiver& receiver = work.delivery.receiver;
    lines.push_back("at work " + std::to_string(work.delivery.number) + ": " + receiver.type + "." + receiver.instance +
                    "." + receiver.signal);
    milliseconds = work.milliseconds;
  }
  void NodeThere(const Node& node) override {
    lines.push_back(std::string("node ") + node.type + "." + node.instance + (node.at_work ? " at work" : "") +
                    (node.busy ? " busy" : ""));
  }
  void SignalWaiting(const Waiting& signal) override {
    lines.push_back("waiting " + std::to_string(signal.number) + ": " + signal.sender.signal + " > " +
                    signal.receiver.instance + "." + signal.receiver.signal);
  }

  std::vector<std::string> lines;
  std::uint64_t milliseconds = 0;
};

class RunReportTest : public ::testing::TestWithParam<Host> {
 protected:
  RunReportTest() {
    for (const char* instance : {"A", "B"}) bench.AddNode("Actor", instance, "GoodPlugin");
    bench.Map("Actor", "A", "out", "Actor,B,in");
  }
  ~RunReportTest() override {
    bench.engine().StopFlowing();
    Observe(nullptr);
  }
  void Observe(OrvWorkFlow::IRunObserver* whom) {
    EXPECT_TRUE(bench.engine().SetRunObserver(whom));
    EXPECT_TRUE(bench.mediator().SetRunObserver(whom));
  }
  Lines Nodes() {
    Lines report;
    EXPECT_TRUE(bench.mediator().Report(&report));
    return report;
  }
  std::vector<std::string> Queue(std::uint32_t most) {
    Lines report;
    EXPECT_TRUE(bench.engine().ReportQueue(&report, most));
    return report.lines;
  }
  void Start() {
    ASSERT_TRUE(bench.LoadNodes());
    ASSERT_TRUE(bench.mediator().LoadWorkNodesNow(true));
    bench.engine().SetHandOverLimit(1);
    bench.engine().SetStartSignal("Actor", "A", "go");
    ASSERT_TRUE(bench.engine().StartFlowing());
  }

  RecordingObserver observer;
  Workbench bench{GetParam(), Log::kNone};
};

// Another thread looks while the node sits in its Signal, which without a host holds every lock of the road.
TEST_P(RunReportTest, ShowsTheNodeAtWorkAndTheQueueWithoutWaiting) {
  Observe(&observer);
  Lines nodes;
  std::vector<std::string> queue;
  std::vector<std::string> none;
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& /*signal*/) {
    if (instance == "B") return true;
    for (int i = 0; i < 5; ++i) actor.Fire("out");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::thread([&] {
      nodes = Nodes();
      queue = Queue(3);
      none = Queue(0);
    }).join();
    return true;
  };
  Start();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_THAT(nodes.lines, ElementsAre("at work 1: Actor.A.go", "node Actor.A at work", "node Actor.B"));
  EXPECT_GE(nodes.milliseconds, 20U);
  EXPECT_THAT(queue, ElementsAre("waiting 2: out > B.in", "waiting 3: out > B.in", "waiting 4: out > B.in"));
  EXPECT_THAT(none, IsEmpty());
  EXPECT_THAT(Nodes().lines, ElementsAre("node Actor.A", "node Actor.B"));
  EXPECT_THAT(Queue(3), IsEmpty());
}

TEST_P(RunReportTest, WithoutAnObserverOnlyTheNodesAreKnown) {
  std::vector<std::string> nodes;
  bool queue = true;
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) {
    nodes = Nodes().lines;
    Lines report;
    queue = bench.engine().ReportQueue(&report, 10);
    return true;
  };
  Start();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_THAT(nodes, ElementsAre("node Actor.A", "node Actor.B"));
  EXPECT_FALSE(queue);
  EXPECT_FALSE(bench.engine().ReportQueue(nullptr, 10));
  EXPECT_FALSE(bench.mediator().Report(nullptr));
}

// Looking never disturbs, whatever happens meanwhile: for the sanitizers.
TEST_P(RunReportTest, ManyLooksWhileSignalsFlow) {
  Observe(&observer);
  bench.Map("Actor", "B", "out", "Actor,A,in");
  int rounds = 0;
  Actor::ThePlay() = [&](Actor& actor, const std::string&, const std::string&) {
    return ++rounds > 500 || actor.Fire("out");
  };
  Start();
  std::atomic<bool> done = false;
  std::size_t looks = 0;
  std::thread looking([&] {
    while (!done || looks < 10) looks += Nodes().lines.size() + Queue(5).size();
  });
  EXPECT_TRUE(bench.RunUntilIdle(60));
  done = true;
  looking.join();
  EXPECT_GT(rounds, 500);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutHost, RunReportTest, ::testing::Values(Host::kNone, Host::kWithGuiThread),
                         [](const auto& test) { return test.param == Host::kNone ? "OnThePump" : "OnTheGuiThread"; });

}  // namespace
}  // namespace orv_test
