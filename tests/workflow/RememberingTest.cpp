// Random workflows whose nodes change everything that the road of a signal rests on: they run as if nothing of it were
// remembered. ORVFLOW_SOAK_SECONDS says how long; one second by default.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/fakes/FakeClock.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/RandomWrites.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IDictionary;
using OrvWorkFlow::IDictionaryWatch;

enum class Memory {
  kAsItIs,
  kNothing,     // everything has always changed
  kEverything,  // nothing ever has
};

class Watch final : public IDictionaryWatch {
 public:
  explicit Watch(bool counts) : counts_(counts) {}
  std::uint64_t GetCount() override { return counts_ ? ++count_ : 0; }
  void Release() override { delete this; }
  bool GetChanges(std::uint64_t* /*count*/, OrvWorkFlow::IOrvPStringList* /*paths*/) override { return false; }

 private:
  const bool counts_;
  std::atomic<std::uint64_t> count_ = 0;
};

class Front final : public ForwardingDictionary {
 public:
  Front(IDictionary* inner, Memory memory) : ForwardingDictionary(inner), memory_(memory) {}
  IDictionaryWatch* WatchChanges(const char* const* patterns, std::size_t count) override {
    if (memory_ == Memory::kAsItIs) return ForwardingDictionary::WatchChanges(patterns, count);
    return new Watch(memory_ == Memory::kNothing);
  }

 private:
  const Memory memory_;
};

// Whether a line tells how far one thread was when the other did something: the pump's rounds, which it also makes in
// vain, the engine's lock, and how long the queue was.
bool IsOfTheMoment(const LogLine& line) {
  constexpr std::array<std::string_view, 4> kTexts = {"sigpump doing stuff", "WorkflowEngineLocked",
                                                      "WorkflowEngineUnlocked", "signal queue is empty"};
  return std::find(kTexts.begin(), kTexts.end(), line.text) != kTexts.end() || line.text.starts_with("There are ");
}

// Without the folder, another one each time, of the file that is absorbed.
std::string TextOf(const LogLine& line) {
  const std::size_t file = line.text.find(", ");
  if (!line.text.starts_with("Absorbing ") || file == std::string::npos) return line.text;
  return line.text.substr(0, file + 2) + line.text.substr(line.text.find_last_of("/\\") + 1);
}

// The lines of this thread or of all others, in order.
std::vector<std::string> LinesOf(const RecordingLogger& logger, bool of_this_thread) {
  std::vector<std::string> lines;
  for (const LogLine& line : logger.GetLines()) {
    const bool is_of_this = line.thread == std::this_thread::get_id();
    if (is_of_this == of_this_thread && !IsOfTheMoment(line)) lines.push_back(line.category + ": " + TextOf(line));
  }
  return lines;
}

struct Course {
  bool ended = false;
  std::vector<std::string> deliveries;  // with the content directories that the node saw
  std::vector<std::string> boxes;
  std::vector<std::string> lines;       // of this thread
  std::vector<std::string> pump_lines;  // of the others
  std::string dictionary;               // at the end

  bool operator==(const Course&) const = default;
};

Course Play(std::uint32_t seed, Host host, Memory memory) {
  constexpr int kMostFiring = 40;
  const MessageBoxRecorder boxes;
  const FakeClock clock;  // no stop waits
  std::unique_ptr<Front> front;
  Course course;
  Workbench bench(host, Log::kRecorded, [&](IDictionary* dictionary) {
    front = std::make_unique<Front>(dictionary, memory);
    return front.get();
  });
  RandomWrites writes(seed, bench.dictionary(), bench.engine());
  writes.SetUp();
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& /*signal*/) {
    std::string line = instance;
    for (const std::string& directory : actor.GetContentDirectories()) line += " " + directory;
    course.deliveries.push_back(std::move(line));
    if (course.deliveries.size() > kMostFiring) return true;
    for (int changes = writes.Below(3); changes > 0; --changes) writes.Change();
    actor.Fire("out");
    if (writes.Below(3) == 0) actor.Fire("alt");
    return true;
  };
  bench.LoadNodes();
  bench.mediator().LoadWorkNodesNow(true);
  bench.engine().SetHandOverLimit(1);  // So that nodes are made between two deliveries.
  for (int start = 0; start < 3; ++start) {
    bench.engine().SetStartSignal("Actor", "N0", "in");
    course.ended = bench.engine().StartFlowing() && bench.RunUntilIdle(30);
    bench.engine().StopFlowing();
    if (!course.ended) break;
  }
  course.boxes = boxes.GetTexts();
  course.lines = LinesOf(bench.logger(), true);
  course.pump_lines = LinesOf(bench.logger(), false);
  const PString text;
  if (bench.dictionary().SaveToText(text.out())) course.dictionary = text.str();
  return course;
}

class RememberingTest : public ::testing::TestWithParam<Host> {
 protected:
  ~RememberingTest() override { Actor::ThePlay() = nullptr; }
};

TEST_P(RememberingTest, IsNotSeenWhateverNodesWrite) {
  using Clock = std::chrono::steady_clock;
  const char* const text = std::getenv("ORVFLOW_SOAK_SECONDS");
  const Clock::time_point end = Clock::now() + std::chrono::seconds(text == nullptr ? 1 : std::atoi(text));
  std::size_t deliveries = 0;
  std::size_t lines = 0;
  int told_apart = 0;
  for (std::uint32_t seed = 1; seed <= 10 || Clock::now() < end; ++seed) {
    const Course expected = Play(seed, GetParam(), Memory::kNothing);
    ASSERT_TRUE(expected.ended) << "seed " << seed;
    const Course course = Play(seed, GetParam(), Memory::kAsItIs);
    ASSERT_EQ(course.deliveries, expected.deliveries) << "seed " << seed;
    ASSERT_EQ(course.boxes, expected.boxes) << "seed " << seed;
    ASSERT_EQ(course.lines, expected.lines) << "seed " << seed;
    ASSERT_EQ(course.pump_lines, expected.pump_lines) << "seed " << seed;
    ASSERT_EQ(course.dictionary, expected.dictionary) << "seed " << seed;
    deliveries += course.deliveries.size();
    lines += course.lines.size() + course.pump_lines.size();
    if (seed <= 10 && Play(seed, GetParam(), Memory::kEverything) != expected) ++told_apart;
  }
  EXPECT_GT(deliveries, 100U);
  EXPECT_GT(lines, deliveries);
  EXPECT_GT(told_apart, 5) << "these workflows would not show a memory that is out of date";
}

INSTANTIATE_TEST_SUITE_P(Hosts, RememberingTest, ::testing::Values(Host::kNone, Host::kWithGuiThread));

}  // namespace
}  // namespace orv_test
