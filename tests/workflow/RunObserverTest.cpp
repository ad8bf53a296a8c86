// What an observer of a run is told, with everything real but the nodes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/fakes/RecordingObserver.h"
#include "tests/support/TempDirectory.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class RunObserverTest : public ::testing::TestWithParam<Host> {
 protected:
  RunObserverTest() { Observe(&observer); }

  void Observe(OrvWorkFlow::IRunObserver* whom) {
    EXPECT_TRUE(bench.engine().SetRunObserver(whom));
    EXPECT_TRUE(bench.mediator().SetRunObserver(whom));
  }
  void Add(const std::string& instance) { bench.AddNode("Actor", instance, "GoodPlugin"); }

  // Starts with a signal, waits until all is done and stops.
  void Run(const char* instance, const char* signal) {
    ASSERT_TRUE(bench.LoadNodes());
    bench.engine().SetStartSignal("Actor", instance, signal);
    ASSERT_TRUE(bench.engine().StartFlowing());
    ASSERT_TRUE(bench.RunUntilIdle(60));
    bench.engine().StopFlowing();
  }
  std::vector<std::string> LinesThatBegin(const std::string& word) const {
    std::vector<std::string> lines = observer.Lines();
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(word + " "); });
    return lines;
  }

  RecordingObserver observer;
  MessageBoxRecorder boxes;
  Workbench bench{GetParam(), Log::kNone};
};

TEST_P(RunObserverTest, TellsTheRoadOfASignalInOrder) {
  Add("A");
  Add("B");
  bench.Map("Actor", "A", "done", "Actor,B,work");
  bench.Map("Actor", "A", "done", "Actor,B,rest");
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& /*signal*/) {
    return instance == "A" ? actor.Fire("done") : true;
  };
  Run("A", "go");
  const std::vector<std::string> all = {
      "queued 1 by 0: - > Actor.A.go",
      "made Actor.A",
      "begun 1: - > Actor.A.go",
      "queued 2 by 1: Actor.A.done > Actor.B.work",
      "queued 3 by 1: Actor.A.done > Actor.B.rest",
      "ended 1: - > Actor.A.go accepted",
      "made Actor.B",
      "begun 2: Actor.A.done > Actor.B.work",
      "ended 2: Actor.A.done > Actor.B.work accepted",
      "begun 3: Actor.A.done > Actor.B.rest",
      "ended 3: Actor.A.done > Actor.B.rest accepted",
  };
  if (GetParam() == Host::kNone) {
    EXPECT_EQ(observer.Lines(), all);
    return;
  }
  // The pump makes a node beside the delivery of another.
  std::vector<std::string> told = observer.Lines();
  EXPECT_EQ(std::multiset<std::string>(told.begin(), told.end()), std::multiset<std::string>(all.begin(), all.end()));
  const auto is_made = [](const std::string& line) { return line == "made Actor.B"; };
  std::vector<std::string> rest = all;
  std::erase_if(rest, is_made);
  std::erase_if(told, is_made);
  EXPECT_EQ(told, rest);
}

TEST_P(RunObserverTest, IsCalledOnTheThreadOnWhichItHappens) {
  Add("A");
  std::thread::id delivering;
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) {
    delivering = std::this_thread::get_id();
    return true;
  };
  Run("A", "go");
  for (const RecordingObserver::Entry& entry : observer.Entries()) {
    const bool queued = entry.line.starts_with("queued");
    if (queued || entry.line.starts_with("made")) {
      EXPECT_EQ(entry.thread == std::this_thread::get_id(), queued) << entry.line;
    } else {
      EXPECT_EQ(entry.thread, delivering) << entry.line;
    }
  }
}

TEST_P(RunObserverTest, TellsHowDeliveriesFail) {
  Add("A");
  bench.AddNode("TestThrowsInSignal", "T", "ThrowingPlugin");
  bench.AddNode("Lost", "L", "no such library");
  for (const char* receiver : {"TestThrowsInSignal,T,standard", "TestThrowsInSignal,T,other", "Actor,A,standard",
                               "Actor,A,number", "Actor,A,refuse", "Actor,Nobody,go", "Lost,L,go", "Actor,A,end"}) {
    bench.Map("Actor", "A", "all", receiver);
  }
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    if (signal == "go") return actor.Fire("all");
    if (signal == "standard") throw std::runtime_error("the disk is full");
    if (signal == "number") throw 7;
    return signal != "refuse";
  };
  Run("A", "go");
  std::vector<std::string> ended = LinesThatBegin("ended");
  std::sort(ended.begin(), ended.end());  // what cannot begin ends on the pump's thread
  for (std::string& line : ended) line.erase(0, line.find(" > ") + 3);
  EXPECT_THAT(ended, ElementsAre("Actor.A.go accepted", StartsWith("TestThrowsInSignal.T.standard threw: "),
                                 "TestThrowsInSignal.T.other threw", "Actor.A.standard threw: the disk is full",
                                 "Actor.A.number threw", "Actor.A.refuse refused", "Actor.Nobody.go no node",
                                 "Lost.L.go no type", "Actor.A.end accepted"));
  EXPECT_EQ(LinesThatBegin("begun").size(), 8U);  // all but the one whose type was not loaded
  EXPECT_EQ(bench.statistics().failures, 7U);
}

TEST_P(RunObserverTest, TheEndIsToldBeforeABoxIsShown) {
  Add("A");
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) { return false; };
  struct Seen {
    RecordingObserver& observer;
    std::vector<std::string> lines;
  } seen{observer, {}};
  const OrvWorkFlow::MessageBoxRoute route =
      OrvWorkFlow::SetMessageBoxRoute({[](const char*, const char*, void* context) {
                                         auto& at_the_box = *static_cast<Seen*>(context);
                                         at_the_box.lines = at_the_box.observer.Lines();
                                       },
                                       &seen});
  Run("A", "go");
  OrvWorkFlow::SetMessageBoxRoute(route);
  ASSERT_FALSE(seen.lines.empty());
  EXPECT_EQ(seen.lines.back(), "ended 1: - > Actor.A.go refused");
}

TEST_P(RunObserverTest, TellsWhatNothingTakesAndWhatCannotBeRead) {
  Add("A");
  bench.Map("Actor", "A", "broken", "Actor,A,end");
  bench.Map("Actor", "A", "broken", "Actor,A");
  bench.Map("Actor", "A", "broken", "Actor,A,never");
  const std::string maps = "/WorkFlowEngine/WorkNodes/Actor/Instances/A/maps/";
  bench.dictionary().SetValue((maps + "number/map0").c_str(), std::int32_t{7});
  bench.dictionary().SetAttribute((maps + "empty").c_str(), "__type", "Nil");
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    if (signal != "go") return true;
    for (const char* output : {"nothing", "empty", "broken", "number"}) EXPECT_TRUE(actor.Fire(output));
    return true;
  };
  Run("A", "go");
  EXPECT_THAT(observer.Lines(), ElementsAre("queued 1 by 0: - > Actor.A.go", "made Actor.A", "begun 1: - > Actor.A.go",
                                            "ignored by 1: Actor.A.nothing", "ignored by 1: Actor.A.empty (key)",
                                            "queued 2 by 1: Actor.A.broken > Actor.A.end",
                                            "not read by 1: Actor.A.broken: " + maps + "broken/map1 'Actor,A'",
                                            "not read by 1: Actor.A.number: " + maps + "number/map0 '(none)'",
                                            "ended 1: - > Actor.A.go accepted", "begun 2: Actor.A.broken > Actor.A.end",
                                            "ended 2: Actor.A.broken > Actor.A.end accepted"));
}

TEST_P(RunObserverTest, SignalsPastTheQueueHaveNumbersOfTheirOwn) {
  Add("A");
  bench.Map("Actor", "A", "done", "Actor,A,end");
  const std::string reboot = "/WorkFlowEngine/RebootSignals/RebootSignal0";
  bench.dictionary().SetValue((reboot + "/Signal").c_str(), "wake");
  bench.dictionary().SetValue((reboot + "/WorkNodeTypeName").c_str(), "Actor");
  bench.dictionary().SetValue((reboot + "/WorkNodeInstanceName").c_str(), "A");
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    return signal == "end" || actor.Fire("done");
  };
  ASSERT_TRUE(bench.LoadNodes());
  ASSERT_TRUE(bench.mediator().FireInputSignal("Actor", "A", "poke"));
  while (bench.Deliver()) {
  }
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(60));
  bench.engine().StopFlowing();
  EXPECT_THAT(LinesThatBegin("reboot"), ElementsAre("reboot x2 > Actor.A.wake"));
  EXPECT_THAT(
      LinesThatBegin("begun"),
      ::testing::UnorderedElementsAre("begun x1: - > Actor.A.poke", "begun x2: - > Actor.A.wake",
                                      "begun 1: Actor.A.done > Actor.A.end", "begun 2: Actor.A.done > Actor.A.end"));
  EXPECT_THAT(LinesThatBegin("queued"),
              ElementsAre("queued 1 by x1: Actor.A.done > Actor.A.end", "queued 2 by x2: Actor.A.done > Actor.A.end"));
}

// A node whose own thread fires is no cause.
TEST_P(RunObserverTest, SignalsOfOtherThreadsHaveNoCause) {
  Add("A");
  bench.Map("Actor", "A", "done", "Actor,A,end");
  std::thread worker;
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    if (signal == "go") worker = std::thread([&actor] { actor.Fire("done"); });
    return true;
  };
  ASSERT_TRUE(bench.LoadNodes());
  bench.engine().SetStartSignal("Actor", "A", "go");
  ASSERT_TRUE(bench.engine().StartFlowing());
  while (LinesThatBegin("begun").size() < 2) {
    bench.Deliver();
    std::this_thread::yield();
  }
  worker.join();
  ASSERT_TRUE(bench.RunUntilIdle(60));
  bench.engine().StopFlowing();
  EXPECT_THAT(LinesThatBegin("queued"),
              ElementsAre("queued 1 by 0: - > Actor.A.go", "queued 2 by 0: Actor.A.done > Actor.A.end"));
}

// Threads that fire while the pump works and another absorbs: every number once, queued before it begins, begun before
// it ends, and in the order of the queue.
TEST_P(RunObserverTest, EveryNumberOnceAndInOrderWithManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kEach = 100;
  Add("A");
  Add("B");
  bench.Map("Actor", "A", "out", "Actor,B,one");
  bench.Map("Actor", "B", "out", "Actor,B,two");
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    return signal == "two" || actor.Fire("out");
  };
  ASSERT_TRUE(bench.LoadNodes());
  ASSERT_TRUE(bench.engine().StartFlowing());
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        for (int n = 0; n < kEach; ++n) EXPECT_TRUE(bench.engine().OutputSignal("Actor", "A", "out"));
      });
    }
  }
  ASSERT_TRUE(bench.RunUntilIdle(60));
  bench.engine().StopFlowing();
  const auto number_of = [](const std::string& line) { return std::stoi(line.substr(line.find(' ') + 1)); };
  std::map<std::string, int> next;
  std::map<int, std::string> state;
  for (const std::string& line : observer.Lines()) {
    const std::string word = line.substr(0, line.find(' '));
    if (word == "made") continue;
    EXPECT_EQ(number_of(line), ++next[word]) << line;
    std::string& before = state[number_of(line)];
    EXPECT_EQ(before, word == "queued" ? "" : word == "begun" ? "queued" : "begun") << line;
    before = word;
    if (line.find("Actor.B.out") != std::string::npos && word == "queued") {
      const int cause = std::stoi(line.substr(line.find(" by ") + 4));
      EXPECT_EQ(state[cause], "begun") << line;
    }
  }
  EXPECT_EQ(next["ended"], 2 * kThreads * kEach);
}

TEST_P(RunObserverTest, AnAbsorbedFlowsStartSignalIsCausedByTheNodeThatAbsorbs) {
  const TempDirectory directory;
  auto* const flow = static_cast<OrvWorkFlow::IDictionary*>(
      OrvWorkFlow::WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
  const auto set = [&](const std::string& path, const char* value) {
    EXPECT_TRUE(flow->SetValue(("/WorkFlowEngine/" + path).c_str(), value));
  };
  set("WorkFlowName", "Sub");
  set("WorkNodes/Actor/Binaries/win32_bin", "GoodPlugin");
  set("WorkNodes/Actor/Instances/S/wfName", "Sub");
  set("Mappings/StartSignal/ReceiverTypeName", "Actor");
  set("Mappings/StartSignal/ReceiverInstanceName", "S");
  set("Mappings/StartSignal/IncomingSignalName", "begin");
  const std::string file = directory.file("Sub.xml");
  ASSERT_TRUE(flow->SaveFile(file.c_str()));
  flow->Release();
  Add("A");
  Actor::ThePlay() = [&](Actor&, const std::string& instance, const std::string&) {
    return instance == "S" || bench.engine().AbsorbFlow(file.c_str(), true);
  };
  Run("A", "go");
  EXPECT_THAT(LinesThatBegin("queued"),
              ElementsAre("queued 1 by 0: - > Actor.A.go", "queued 2 by 1: - > Actor.S.begin"));
  EXPECT_THAT(observer.Lines().back(), "ended 2: - > Actor.S.begin accepted");
}

TEST_P(RunObserverTest, ARemovedObserverHearsNothingMore) {
  Add("A");
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) { return true; };
  Observe(nullptr);
  Run("A", "go");
  EXPECT_THAT(observer.Lines(), IsEmpty());
  Observe(&observer);
  ASSERT_TRUE(bench.mediator().FireInputSignal("Actor", "A", "again"));
  while (bench.Deliver()) {
  }
  EXPECT_THAT(observer.Lines(), ElementsAre("begun x1: - > Actor.A.again", "ended x1: - > Actor.A.again accepted"));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutHost, RunObserverTest, ::testing::Values(Host::kNone, Host::kWithGuiThread),
                         [](const auto& test) { return test.param == Host::kNone ? "OnThePump" : "OnTheGuiThread"; });

}  // namespace
}  // namespace orv_test
