// What happens to a signal from node to node, with everything real but the nodes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace {

using orv_test::Actor;
using orv_test::Host;
using orv_test::Log;
using orv_test::MessageBoxRecorder;
using orv_test::Workbench;

// A library that exists: the type itself is registered by this program.
constexpr char kLibrary[] = "GoodPlugin";

std::vector<std::string> WithoutEmptyPasses(const std::vector<std::string>& trace) {
  const std::vector<std::string> empty_pass = {
      "/workflow/signalpump: sigpump doing stuff", "workflow/FireAllReadySignals: WorkflowEngineLocked",
      "workflow/FireAllReadySignals: signal queue is empty", "workflow/FireAllReadySignals: WorkflowEngineUnlocked"};
  std::vector<std::string> rest;
  for (std::size_t i = 0; i < trace.size();) {
    if (i + empty_pass.size() <= trace.size() &&
        std::equal(empty_pass.begin(), empty_pass.end(), trace.begin() + static_cast<std::ptrdiff_t>(i))) {
      i += empty_pass.size();
    } else {
      rest.push_back(trace[i++]);
    }
  }
  return rest;
}

struct Road {
  std::thread::id pump;
  std::thread::id delivery;
};

// A fires "done" when it gets "go"; "done" maps to B's "work".
Road RunTheRoad(Workbench& bench) {
  bench.AddNode("Actor", "A", kLibrary);
  bench.AddNode("Actor", "B", kLibrary);
  bench.Map("Actor", "A", "done", "Actor,B,work");
  Road road;
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& signal) {
    if (instance == "A") return signal == "go" && actor.Fire("done");
    road.delivery = std::this_thread::get_id();
    return signal == "work";
  };
  EXPECT_TRUE(bench.LoadNodes());
  bench.logger().Clear();
  EXPECT_TRUE(bench.engine().SetStartSignal("Actor", "A", "go"));
  EXPECT_TRUE(bench.engine().StartFlowing());
  EXPECT_TRUE(bench.RunUntilIdle(60));
  EXPECT_TRUE(bench.engine().StopFlowing());
  for (const orv_test::LogLine& line : bench.logger().GetLines()) {
    if (line.text == "sigpump doing stuff") road.pump = line.thread;
  }
  EXPECT_EQ(bench.statistics().sent, 2U);
  EXPECT_EQ(bench.statistics().finished, 2U);
  EXPECT_EQ(bench.statistics().nodes, 2U);
  EXPECT_EQ(bench.statistics().failures, 0U);
  return road;
}

std::string Pump(const std::string& text) { return "workflow/FireAllReadySignals: " + text; }
std::string Fire(const std::string& text) { return "/workflow/signalmediator/FireInputSignal: " + text; }
std::string Deliver(const std::string& text) { return "/workflow/signalmediator/Signal: " + text; }
std::string Instance(const std::string& text) {
  return "/workflow/signalmediator/instantiate_worknode_instance: " + text;
}
std::string Loading(const std::string& text) { return "/workflow/signalmediator/loadworknodes: " + text; }
std::string NoDirectories() {
  return "/workflow/signalmediator/GetAllContentDirectories: Could not fine Flow in the absorb flow tree";
}

TEST(RoadOfOneSignalTest, WithoutHostApplicationEverythingRunsOnThePump) {
  Workbench bench(Host::kNone, Log::kRecorded);
  const Road road = RunTheRoad(bench);
  EXPECT_EQ(road.delivery, road.pump);
  const std::vector<std::string> expected = {
      "/workflow/signalpump: sigpump doing stuff",
      Pump("WorkflowEngineLocked"),
      Fire("Before first lock"),
      Fire("After first lock"),
      Loading("Created Actor : A"),
      Instance("At the end of and about to unlock"),
      Instance("At the end of and after unlock"),
      Fire("Done instantiating Actor, A"),
      Fire("Hostapp does not exist"),
      Deliver("Firing input signal 'go' on <Actor, A>"),
      NoDirectories(),
      Deliver("<Actor, A> fired output signal 'done'"),
      "workflow/Signal: WorkflowEngineLocked",
      "workflow/Signal: signal mapping added to the signal queue",
      "workflow/Signal: WorkflowEngineUnlocked",
      Pump("signal mapping removed from the signal queue"),
      Pump("There are 0 left in the signal queue"),
      Pump("WorkflowEngineUnlocked"),
      "/workflow/signalpump: sigpump doing stuff",
      Pump("WorkflowEngineLocked"),
      Fire("Before first lock"),
      Fire("After first lock"),
      Loading("Created Actor : B"),
      Instance("At the end of and about to unlock"),
      Instance("At the end of and after unlock"),
      Fire("Done instantiating Actor, B"),
      Fire("Hostapp does not exist"),
      Deliver("Firing input signal 'work' on <Actor, B>"),
      NoDirectories(),
      Pump("signal mapping removed from the signal queue"),
      Pump("There are 0 left in the signal queue"),
      Pump("WorkflowEngineUnlocked"),
  };
  EXPECT_EQ(WithoutEmptyPasses(bench.logger().GetTrace(road.pump)), expected);
}

TEST(RoadOfOneSignalTest, WithAHostApplicationDeliveriesRunOnTheGuiThread) {
  Workbench bench(Host::kWithGuiThread, Log::kRecorded);
  const Road road = RunTheRoad(bench);
  EXPECT_EQ(road.delivery, std::this_thread::get_id());
  EXPECT_NE(road.delivery, road.pump);
  const std::vector<std::string> pump = {
      "/workflow/signalpump: sigpump doing stuff",
      Pump("WorkflowEngineLocked"),
      Fire("Before first lock"),
      Fire("After first lock"),
      Loading("Created Actor : A"),
      Instance("At the end of and about to unlock"),
      Instance("At the end of and after unlock"),
      Fire("Done instantiating Actor, A"),
      Pump("signal mapping removed from the signal queue"),
      Pump("There are 0 left in the signal queue"),
      Pump("WorkflowEngineUnlocked"),
      "/workflow/signalpump: sigpump doing stuff",
      Pump("WorkflowEngineLocked"),
      Fire("Before first lock"),
      Fire("After first lock"),
      Loading("Created Actor : B"),
      Instance("At the end of and about to unlock"),
      Instance("At the end of and after unlock"),
      Fire("Done instantiating Actor, B"),
      Pump("signal mapping removed from the signal queue"),
      Pump("There are 0 left in the signal queue"),
      Pump("WorkflowEngineUnlocked"),
  };
  EXPECT_EQ(WithoutEmptyPasses(bench.logger().GetTrace(road.pump)), pump);
  const std::vector<std::string> gui = {
      Deliver("Firing input signal 'go' on <Actor, A>"),
      NoDirectories(),
      Deliver("<Actor, A> fired output signal 'done'"),
      "workflow/Signal: WorkflowEngineLocked",
      "workflow/Signal: signal mapping added to the signal queue",
      "workflow/Signal: WorkflowEngineUnlocked",
      Deliver("Firing input signal 'work' on <Actor, B>"),
      NoDirectories(),
  };
  std::vector<std::string> seen = bench.logger().GetTrace(road.delivery);
  // The stop that ends the run is made on this thread too.
  std::erase_if(seen, [](const std::string& line) { return line.find("StopAllWorkNodes") != std::string::npos; });
  EXPECT_EQ(seen, gui);
}

TEST(RoadOfOneSignalTest, WhatAPluginThrowsIsShownAndTheWorkflowGoesOn) {
  MessageBoxRecorder boxes;
  Workbench bench(Host::kNone, Log::kNone);
  bench.AddNode("Actor", "A", "ThrowingPlugin");
  bench.AddNode("TestThrowsInSignal", "T", "ThrowingPlugin");
  bench.AddNode("TestThrowsInConstructor", "C", "ThrowingPlugin");
  for (const char* receiver :
       {"TestThrowsInSignal,T,standard", "TestThrowsInSignal,T,other", "TestThrowsInConstructor,C,go", "Actor,A,end"}) {
    bench.Map("Actor", "A", "all", receiver);
  }
  std::atomic<bool> ended = false;
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& signal) {
    if (signal == "go") return actor.Fire("all");
    ended = true;
    return true;
  };
  ASSERT_TRUE(bench.LoadNodes());
  bench.engine().SetStartSignal("Actor", "A", "go");
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(60));
  bench.engine().StopFlowing();
  EXPECT_TRUE(ended);
  const std::string stops(140, '.');
  EXPECT_EQ(boxes.GetTexts(),
            (std::vector<std::string>{
                "<TestThrowsInSignal, T>::Signal(standard) threw an exception.  Press OK to continue." + stops,
                "<TestThrowsInSignal, T>::Signal(other) threw an exception.  Press OK to continue." + stops,
                "An exception was thrown while trying to instantiate TestThrowsInConstructor, C" + stops}));
  for (const orv_test::RecordedBox& box : boxes.GetBoxes()) EXPECT_EQ(box.caption, "Workflowengine");
}

TEST(RoadOfOneSignalTest, ManyEntriesQueuedAtOnceDrainInOrder) {
  Workbench bench(Host::kNone, Log::kNone);
  bench.AddNode("Actor", "A", kLibrary);
  constexpr int kReceivers = 100;
  constexpr int kFirings = 1000;
  for (int i = 0; i < kReceivers; ++i) bench.Map("Actor", "A", "out", "Actor,A,i" + std::to_string(i));
  int next = 0;
  int wrong = 0;
  Actor::ThePlay() = [&](Actor& /*actor*/, const std::string& /*instance*/, const std::string& signal) {
    if (signal != "i" + std::to_string(next % kReceivers)) ++wrong;
    ++next;
    return true;
  };
  ASSERT_TRUE(bench.LoadNodes());
  for (int i = 0; i < kFirings; ++i) ASSERT_TRUE(bench.engine().OutputSignal("Actor", "A", "out"));
  OrvWorkFlow::IWorkFlowEngine::QueueState queue;
  ASSERT_TRUE(bench.engine().GetQueueState(&queue));
  EXPECT_EQ(queue.waiting, static_cast<std::uint32_t>(kReceivers * kFirings));
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(120));
  bench.engine().StopFlowing();
  EXPECT_EQ(next, kReceivers * kFirings);
  EXPECT_EQ(wrong, 0);
}

// Two nodes that send one signal to and fro: the queue never holds more than one entry, the stack does not grow, and
// neither does memory (sanitizers keep freed blocks for a while, so the bound is wide; a block lost a signal is wider).
void PlayPingPong(Host host, int rounds) {
  Workbench bench(host, Log::kNone);
  bench.AddNode("Actor", "Ping", kLibrary);
  bench.AddNode("Actor", "Pong", kLibrary);
  bench.Map("Actor", "Ping", "out", "Actor,Pong,in");
  bench.Map("Actor", "Pong", "out", "Actor,Ping,in");
  int played = 0;
  std::uintptr_t lowest = UINTPTR_MAX;
  std::uintptr_t highest = 0;
  std::size_t memory_after_warm_up = 0;
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& /*signal*/) {
    const int here = 0;
    const auto stack = reinterpret_cast<std::uintptr_t>(&here);
    lowest = std::min(lowest, stack);
    highest = std::max(highest, stack);
    if (++played == rounds / 10) memory_after_warm_up = orv_test::ResidentBytes();
    return played == rounds || actor.Fire("out");
  };
  ASSERT_TRUE(bench.LoadNodes());
  bench.engine().SetStartSignal("Actor", "Ping", "in");
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(500));
  const std::size_t memory_at_the_end = orv_test::ResidentBytes();
  bench.engine().StopFlowing();
  EXPECT_EQ(played, rounds);
  EXPECT_EQ(bench.statistics().finished, static_cast<std::uint32_t>(rounds));
  EXPECT_LT(highest - lowest, 4096U);
  ASSERT_GT(memory_after_warm_up, 0U);
  EXPECT_LT(memory_at_the_end, memory_after_warm_up + 320U * 1024 * 1024);
}

// The thread sanitizer makes every signal dear and looks for races, which show in fewer.
#if defined(__SANITIZE_THREAD__)
constexpr int kSignals = 50000;
#else
constexpr int kSignals = 1000000;
#endif

TEST(RoadOfOneSignalTest, TheLibraryGoesWhileThePumpRuns) {
  std::atomic<int> played = 0;
  {
    Workbench bench(Host::kNone, Log::kNone);
    bench.AddNode("Actor", "A", kLibrary);
    bench.Map("Actor", "A", "again", "Actor,A,go");
    Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& /*signal*/) {
      ++played;
      return actor.Fire("again");
    };
    ASSERT_TRUE(bench.LoadNodes());
    bench.engine().SetStartSignal("Actor", "A", "go");
    ASSERT_TRUE(bench.engine().StartFlowing());
    while (played < 1000) std::this_thread::yield();
  }
  const int at_the_end = played;
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(played, at_the_end);
}

TEST(RoadOfOneSignalTest, AMillionSignalsToAndFro) { PlayPingPong(Host::kNone, kSignals); }

TEST(RoadOfOneSignalTest, SignalsToAndFroAcrossTheGuiThread) { PlayPingPong(Host::kWithGuiThread, 10000); }

}  // namespace
