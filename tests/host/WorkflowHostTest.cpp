// The class that programs embed, with the ready-made nodes: a clock whose ticks are counted.
#include "OrvWorkFlow/host/WorkflowHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/host/RunObserver.h"
#include "base/dictionary/DictionaryReading.h"
#include "tests/support/SourceFolder.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using Host::HostError;
using Host::RunEnd;
using Host::StateFile;
using Host::WorkflowHost;

// Counts what is delivered to the counter; asks for a stop after so many.
class TickWatcher final : public Host::RunObserver {
 public:
  WorkflowHost* host = nullptr;
  int stop_after = 0;

  void DeliveryEnded(const Delivery& delivery, Outcome /*outcome*/, const char* /*text*/) override {
    if (std::string(delivery.receiver.instance) != "Ticks" || std::string(delivery.receiver.signal) != "count") return;
    if (++counted_ != stop_after) return;
    asked_ = std::chrono::steady_clock::now();
    host->RequestStop();
  }
  int counted() const { return counted_; }
  std::chrono::steady_clock::time_point asked() const { return asked_; }

 private:
  std::chrono::steady_clock::time_point asked_;
  std::atomic<int> counted_ = 0;
};

class WorkflowHostTest : public ::testing::Test {
 protected:
  // The flow of the guide, with `times` ticks of `milliseconds`.
  std::string WriteFlow(int times, int milliseconds) const {
    std::string text = ReadFile(SourceFolder() / "orvflow" / "new" / "templates" / "host" / "flow.xml");
    Replace(text, ">5<", ">" + std::to_string(times) + "<");
    Replace(text, ">100<", ">" + std::to_string(milliseconds) + "<");
    const std::string file = directory_.file("flow.xml");
    WriteFile(file, text);
    return file;
  }

  static void Replace(std::string& text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
  }

  // One run with the state beside the flow.
  Host::RunResult RunOnce(const std::string& flow, TickWatcher& watcher, const char* key = nullptr) {
    StateFile state(flow, "");
    WorkflowHost host;
    watcher.host = &host;
    if (key != nullptr) host.UseKey(key);
    host.AddObserver(watcher);
    host.UseState(state);
    host.Load(flow);
    continued_ = host.IsContinued();
    return host.Run();
  }

  static HostError::Kind KindOf(const std::function<void()>& action, std::string* line = nullptr) {
    try {
      action();
    } catch (const HostError& error) {
      if (line != nullptr) *line = error.what();
      return error.kind();
    }
    ADD_FAILURE() << "nothing was thrown";
    return HostError::Kind::Failed;
  }

  bool HasFile(const std::string& name) const { return std::filesystem::exists(directory_.path() / name); }

  TempDirectory directory_;
  bool continued_ = false;
};

TEST_F(WorkflowHostTest, RunsToTheEndTwiceInOneProcess) {
  const std::string flow = WriteFlow(3, 1);
  for (int round = 0; round < 2; ++round) {
    TickWatcher watcher;
    const Host::RunResult result = RunOnce(flow, watcher);
    EXPECT_EQ(result.end, RunEnd::Idle);
    EXPECT_EQ(result.failures, 0u);
    EXPECT_EQ(result.finished_state, Host::FinishedState::Removed);
    EXPECT_EQ(watcher.counted(), 3);
    EXPECT_FALSE(continued_);
    EXPECT_FALSE(HasFile("flow.state.xml"));
    EXPECT_FALSE(HasFile("flow.state.xml.lock"));
  }
}

TEST_F(WorkflowHostTest, RunsWithoutAState) {
  const std::string flow = WriteFlow(2, 1);
  WorkflowHost host;
  host.Load(flow);
  const Host::RunResult result = host.Run();
  EXPECT_EQ(result.end, RunEnd::Idle);
  EXPECT_EQ(result.finished_state, Host::FinishedState::None);
  EXPECT_FALSE(HasFile("flow.state.xml"));
  EXPECT_EQ(KindOf([&] { host.Run(); }), HostError::Kind::Failed) << "it has run";
  EXPECT_EQ(KindOf([&] { host.Load(flow); }), HostError::Kind::Failed) << "it has its workflow";
}

TEST_F(WorkflowHostTest, StopsWithTheStateSavedAndGoesOn) {
  const std::string flow = WriteFlow(6, 20);
  TickWatcher first;
  first.stop_after = 2;
  const Host::RunResult stopped = RunOnce(flow, first);
  EXPECT_EQ(stopped.end, RunEnd::Stopped);
  EXPECT_TRUE(stopped.saved);
  EXPECT_TRUE(HasFile("flow.state.xml"));
  EXPECT_FALSE(HasFile("flow.state.xml.lock"));
  EXPECT_GE(first.counted(), 2);
  EXPECT_LT(first.counted(), 6);

  TickWatcher second;
  const Host::RunResult ended = RunOnce(flow, second);
  EXPECT_TRUE(continued_);
  EXPECT_EQ(ended.end, RunEnd::Idle);
  EXPECT_EQ(first.counted() + second.counted(), 6) << "none is lost, none comes twice";
  EXPECT_FALSE(HasFile("flow.state.xml"));
}

// At its end there is nothing to go on with; but what a state says that was saved before may not come back.
// The library pauses two tenths of a second in a stop in which something may be on its way; a machine that is busy may
// be slow once, not each time.
TEST_F(WorkflowHostTest, AStopDoesNotWaitForANodeThatWaits) {
  using Clock = std::chrono::steady_clock;
  const std::string flow = WriteFlow(1000, 30);
  Clock::duration quickest = std::chrono::hours(1);
  for (int round = 0; round < 8; ++round) {
    TickWatcher watcher;
    watcher.stop_after = 2;
    RunOnce(flow, watcher);
    quickest = std::min(quickest, Clock::now() - watcher.asked());
  }
  EXPECT_LT(quickest, std::chrono::milliseconds(150));
}

TEST_F(WorkflowHostTest, AtTheEndItSavesWhatWasSavedBefore) {
  const auto saves_of = [&](const std::string& flow, TickWatcher& watcher) {
    StateFile state(flow, "");
    WorkflowHost host;
    watcher.host = &host;
    host.UseState(state);
    host.AddObserver(watcher);
    host.Load(flow);
    int saves = 0;
    bool was_there = false;
    Host::RunSettings settings;
    settings.saved = [&] { ++saves; };
    settings.finished = [&] { was_there = state.Exists(); };
    const Host::RunResult result = host.Run(settings);
    EXPECT_EQ(was_there, result.saved && result.end == RunEnd::Idle);
    EXPECT_FALSE(state.Exists() && result.end == RunEnd::Idle);
    return saves;
  };
  TickWatcher never_stopped;
  EXPECT_EQ(saves_of(WriteFlow(2, 1), never_stopped), 0);
  const std::string flow = WriteFlow(6, 20);
  TickWatcher stopped;
  stopped.stop_after = 2;
  EXPECT_EQ(saves_of(flow, stopped), 1);
  TickWatcher continued;
  EXPECT_EQ(saves_of(flow, continued), 1);
}

TEST_F(WorkflowHostTest, AnotherThreadStopsIt) {
  const std::string flow = WriteFlow(100000, 5);
  WorkflowHost host;
  host.Load(flow);
  std::thread stopper([&] {
    while (host.GetStatistics().finished < 3) std::this_thread::yield();
    host.RequestStop();
  });
  const Host::RunResult result = host.Run();
  stopper.join();
  EXPECT_EQ(result.end, RunEnd::Stopped);
  EXPECT_FALSE(result.saved);
}

TEST_F(WorkflowHostTest, AStopThatWasAskedForBeforeTheRunCounts) {
  const std::string flow = WriteFlow(100000, 5);
  WorkflowHost host;
  host.Load(flow);
  host.RequestStop();
  EXPECT_EQ(host.Run().end, RunEnd::Stopped);
}

TEST_F(WorkflowHostTest, SavesWhenAsked) {
  const std::string flow = WriteFlow(100000, 5);
  StateFile state(flow, "");
  WorkflowHost host;
  host.UseState(state);
  host.Load(flow);
  std::atomic<int> saves = 0;
  Host::RunSettings settings;
  settings.saved = [&] {
    if (++saves == 2) host.RequestStop();
  };
  std::thread asker([&] {
    for (int asked = 0; asked < 2; ++asked) {
      host.RequestSave();
      while (saves <= asked) std::this_thread::yield();
    }
  });
  const Host::RunResult result = host.Run(settings);
  asker.join();
  EXPECT_EQ(result.end, RunEnd::Stopped);
  EXPECT_TRUE(result.saved);
  EXPECT_TRUE(state.Exists());
}

TEST_F(WorkflowHostTest, AFailingLoadLeavesNothingBehind) {
  const std::string flow = WriteFlow(2, 1);
  StateFile state(flow, "");
  WorkflowHost host;
  host.UseState(state);
  std::string line;
  EXPECT_EQ(KindOf([&] { host.Load(directory_.file("missing.xml")); }, &line), HostError::Kind::Failed);
  EXPECT_EQ(line, directory_.file("missing.xml") + ": no such file");
  WriteFile(directory_.file("broken.xml"), "<IDictionaryRoot><a></IDictionaryRoot>");
  EXPECT_EQ(KindOf([&] { host.Load(directory_.file("broken.xml")); }, &line), HostError::Kind::Damaged);
  EXPECT_NE(line.find("broken.xml: line 1, column"), std::string::npos) << line;
  WriteFile(directory_.file("empty.xml"), "<IDictionaryRoot></IDictionaryRoot>");
  EXPECT_EQ(KindOf([&] { host.Load(directory_.file("empty.xml")); }), HostError::Kind::Damaged);
  std::string text = ReadFile(flow);
  Replace(text, "FlowNodes", "NoSuchNodes");
  WriteFile(directory_.file("library.xml"), text);
  EXPECT_EQ(KindOf([&] { host.Load(directory_.file("library.xml")); }, &line), HostError::Kind::PluginBroken);
  EXPECT_NE(line.find("/WorkFlowEngine/WorkNodes/Timer/Binaries/win32_bin: "), std::string::npos) << line;
  EXPECT_EQ(KindOf([&] { host.Run(); }), HostError::Kind::Failed);

  host.Load(flow);
  EXPECT_EQ(host.Run().end, RunEnd::Idle);
  EXPECT_EQ(host.GetStatistics().finished, 3u);
  EXPECT_FALSE(HasFile("flow.state.xml"));
}

TEST_F(WorkflowHostTest, ADamagedStateIsRefusedAndStays) {
  const std::string flow = WriteFlow(2, 1);
  for (const char* text :
       {"no state", "<IDictionaryRoot><a></IDictionaryRoot>", "<IDictionaryRoot></IDictionaryRoot>"}) {
    WriteFile(directory_.file("flow.state.xml"), text);
    TickWatcher watcher;
    std::string line;
    EXPECT_EQ(KindOf([&] { RunOnce(flow, watcher); }, &line), HostError::Kind::Damaged);
    EXPECT_NE(line.find("put a whole one there, or remove it to begin anew"), std::string::npos) << line;
    EXPECT_EQ(ReadFile(directory_.file("flow.state.xml")), text);
  }
}

TEST_F(WorkflowHostTest, AStateHasOneHost) {
  const std::string flow = WriteFlow(2, 1);
  const StateFile state(flow, "");
  std::string line;
  EXPECT_EQ(KindOf([&] { const StateFile second(flow, ""); }, &line), HostError::Kind::InUse);
  EXPECT_NE(line.find("flow.state.xml: in use by process "), std::string::npos) << line;
  EXPECT_EQ(KindOf([&] { const StateFile flow_itself(flow, flow); }), HostError::Kind::Misplaced);
  EXPECT_EQ(KindOf([&] { const StateFile folder(flow, directory_.path().string()); }), HostError::Kind::Misplaced);
}

TEST_F(WorkflowHostTest, AProcessHasOneHost) {
  const std::string flow = WriteFlow(2, 1);
  WorkflowHost host;
  EXPECT_EQ(KindOf([] { const WorkflowHost second; }), HostError::Kind::InUse);
  EXPECT_EQ(KindOf([&] { const WorkflowHost second({directory_.file("missing")}); }), HostError::Kind::Misplaced);
  host.Load(flow);
  EXPECT_EQ(host.Run().end, RunEnd::Idle);
}

TEST_F(WorkflowHostTest, WithAKeyFlowAndStateAreEnciphered) {
  const std::string plain = WriteFlow(6, 20);
  const std::string flow = directory_.file("secret.xml");
  {
    WorkflowHost host;
    const WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
    ASSERT_TRUE(dictionary->LoadFile(plain.c_str()));
    dictionary->SetEncryptionKey("a key");
    ASSERT_TRUE(dictionary->SaveFile(flow.c_str()));
  }
  TickWatcher first;
  first.stop_after = 2;
  EXPECT_EQ(RunOnce(flow, first, "a key").end, RunEnd::Stopped);
  for (const char* name : {"secret.xml", "secret.state.xml"}) {
    EXPECT_EQ(ReadFile(directory_.file(name)).find("Timer"), std::string::npos) << name;
  }
  TickWatcher other;
  std::string line;
  EXPECT_EQ(KindOf([&] { RunOnce(flow, other, "another"); }, &line), HostError::Kind::Damaged);
  EXPECT_NE(line.find("; check the key"), std::string::npos) << line;
  TickWatcher second;
  EXPECT_EQ(RunOnce(flow, second, "a key").end, RunEnd::Idle);
  EXPECT_EQ(first.counted() + second.counted(), 6);
}

TEST_F(WorkflowHostTest, LogsAndShowsMessagesWhereItIsTold) {
  std::string text = ReadFile(WriteFlow(1, 1));
  Replace(text, "Counter,Ticks,count", "Counter,Ticks,explode");
  const std::string flow = directory_.file("failing.xml");
  WriteFile(flow, text);
  std::mutex mutex;
  std::vector<std::string> messages;
  std::vector<std::string> lines;
  {
    StateFile state(flow, "");
    WorkflowHost host;
    host.UseState(state);
    host.LogTo(directory_.file("log.txt"));
    EXPECT_EQ(KindOf([&] { host.LogTo(directory_.file("other.txt")); }), HostError::Kind::Failed);
    host.TellWith([&](const std::string& line) { lines.push_back(line); });
    host.ShowMessagesWith([&](const std::string& message, const std::string& caption) {
      const std::lock_guard lock(mutex);
      messages.push_back(caption + ": " + message);
    });
    host.Load(flow);
    const Host::RunResult result = host.Run();
    EXPECT_EQ(result.end, RunEnd::Idle);
    EXPECT_EQ(result.failures, 1u);
    EXPECT_EQ(result.finished_state, Host::FinishedState::Kept);
  }
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].find("Workflowengine: "), std::string::npos) << messages[0];
  EXPECT_NE(messages[0].find("explode"), std::string::npos) << messages[0];
  EXPECT_NE(ReadFile(directory_.file("log.txt")).find("explode"), std::string::npos);
  EXPECT_TRUE(lines.empty());

  // The failed signal is kept; who continues a flow that has changed since is told.
  WriteFile(flow, text + "\n");
  StateFile state(flow, "");
  WorkflowHost host;
  host.UseState(state);
  host.TellWith([&](const std::string& line) { lines.push_back(line); });
  host.Load(flow);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("failing.xml: has changed since "), std::string::npos) << lines[0];
}

TEST_F(WorkflowHostTest, ATimeLimitEndsIt) {
  const std::string flow = WriteFlow(100000, 5);
  WorkflowHost host;
  host.Load(flow);
  Host::RunSettings settings;
  settings.time_limit = std::chrono::milliseconds(50);
  EXPECT_EQ(host.Run(settings).end, RunEnd::TimedOut);
}

}  // namespace
}  // namespace orv_test
