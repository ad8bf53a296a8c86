// What orvflow why tells agrees with the record read anew, by counting alone.
//
// ORVFLOW_WHY_RUNS says of how many random runs; 50 by default.
#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <sstream>

#include "OrvWorkFlow/host/RunObserver.h"
#include "flow/model/Workflow.h"
#include "orvflow/history/Explanation.h"
#include "tests/journal/RandomRun.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using ::testing::HasSubstr;
using ::testing::StartsWith;

unsigned Runs() {
  const char* const text = std::getenv("ORVFLOW_WHY_RUNS");
  return text == nullptr ? 50 : static_cast<unsigned>(std::atoi(text));
}

class NoWitness final : public Host::RunObserver {};

// The entries as they stand.
struct Counts {
  std::map<std::uint64_t, std::uint64_t> causes;
  std::map<std::uint64_t, std::string> receivers;  // of queued signals
  std::map<std::string, std::vector<std::uint64_t>> runs;
  std::map<std::string, std::map<std::string, std::size_t>> fired;

  void Take(const Journal::Event& event) {
    if (event.kind == Journal::Kind::SignalQueued) {
      causes[event.number] = event.cause;
      receivers[event.number] = event.route->receiver_instance;
    }
    if (event.kind == Journal::Kind::SignalQueued || event.kind == Journal::Kind::SignalIgnored) {
      ++fired[event.route->sender_instance][event.route->sender_signal];
    }
    if (event.kind == Journal::Kind::DeliveryEnded) runs[receivers.at(event.number)].push_back(event.number);
  }

  // "A ran 3 times" needs no more than this.
  std::vector<std::uint64_t> WayBack(std::uint64_t number) const {
    std::vector<std::uint64_t> way;
    for (; number != 0; number = causes.at(number)) way.push_back(number);
    return way;
  }
};

std::string Times(std::size_t count) { return std::to_string(count) + (count == 1 ? " time" : " times"); }

// The numbers with which lines begin; 0 for the line that stands for those that were cut.
std::vector<std::uint64_t> NumbersIn(const std::string& text) {
  std::vector<std::uint64_t> numbers;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool is_cut = line.starts_with("    ... ");
    if (is_cut || line.substr(0, 7).find_first_not_of(' ') != std::string::npos) {
      numbers.push_back(is_cut ? 0 : std::strtoull(line.c_str(), nullptr, 10));
    }
  }
  return numbers;
}

void ExpectWay(const std::string& text, const std::vector<std::uint64_t>& way) {
  const std::vector<std::uint64_t> shown = NumbersIn(text);
  if (way.size() <= 24) {
    ASSERT_EQ(shown, way);
    return;
  }
  ASSERT_EQ(shown.size(), 25u);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(shown[i], way[i]);
  EXPECT_EQ(shown[16], 0u);
  EXPECT_THAT(text, HasSubstr("    ... " + std::to_string(way.size() - 24) + " more\n"));
  for (std::size_t i = 1; i <= 8; ++i) EXPECT_EQ(shown[25 - i], way[way.size() - i]);
}

// A node that did not run: each way to it is named, with what its sender did instead.
void ExpectReasons(const std::string& text, const std::string& instance, const Flow::Workflow& workflow,
                   const Counts& counts) {
  for (const Flow::NodeType& type : workflow.types) {
    for (const Flow::Instance& sender : type.instances) {
      for (const Flow::OutputSignal& output : sender.outputs) {
        for (const Flow::Mapping& mapping : output.mappings) {
          if (!mapping.receiver || mapping.receiver->instance != instance) continue;
          const std::string lead = output.name + " of " + sender.name + " leads to it: " + sender.name;
          const auto runs = counts.runs.find(sender.name);
          ASSERT_FALSE(counts.fired.contains(sender.name) && counts.fired.at(sender.name).contains(output.name))
              << "all that is fired there arrives";
          EXPECT_THAT(text, HasSubstr(runs == counts.runs.end() ? lead + " did not run\n"
                                                                : lead + " ran " + Times(runs->second.size())));
          if (runs == counts.runs.end() || !counts.fired.contains(sender.name)) continue;
          for (const auto& [signal, count] : counts.fired.at(sender.name)) {
            EXPECT_THAT(text, HasSubstr(signal + " " + Times(count)));
          }
        }
      }
    }
  }
}

class WhyOracleTest : public ProgramFixture {};

TEST_F(WhyOracleTest, WaysAndReasonsOfRandomRunsAreThoseOfTheRecord) {
  std::size_t idle = 0;
  for (unsigned seed = 0; seed < Runs(); ++seed) {
    const std::string file = File("record");
    const std::string flow = File("flow.xml");
    WriteFile(file, "");
    WriteFile(flow, RandomFlowText(seed));
    Host::WorkflowHost host;
    NoWitness witness;
    RunRecorded(flow, file, host, witness);
    const auto dictionary = host.MakeDictionary();
    ASSERT_TRUE(dictionary->LoadFile(flow.c_str()));
    const Flow::Workflow workflow = Flow::ReadWorkflow(*dictionary);
    Counts counts;
    Program::RunTale tale(0);
    Journal::RecordReader reader(file);
    for (Journal::Event event; reader.Next(&event);) {
      counts.Take(event);
      tale.Take(event);
    }
    for (const auto& [instance, numbers] : counts.runs) {
      for (const std::uint64_t number : numbers) {
        const Journal::Delivery* const delivery = tale.Find(number);
        ASSERT_NE(delivery, nullptr);
        ASSERT_NO_FATAL_FAILURE(ExpectWay(Program::ExplainDelivery(tale, *delivery), counts.WayBack(number))) << seed;
      }
    }
    for (const Flow::NodeType& type : workflow.types) {
      for (const Flow::Instance& instance : type.instances) {
        const std::string text = Program::ExplainNode(tale, workflow, instance.name, "").value();
        const auto runs = counts.runs.find(instance.name);
        if (runs != counts.runs.end()) {
          const std::string head =
              instance.name + " ran " + Times(runs->second.size()) + "; the last, and what led to it:\n";
          ASSERT_THAT(text, StartsWith(head)) << seed;
          ASSERT_NO_FATAL_FAILURE(ExpectWay(text.substr(head.size()), counts.WayBack(runs->second.back()))) << seed;
        } else {
          ++idle;
          ASSERT_THAT(text, StartsWith(instance.name + " did not run:\n")) << seed;
          ASSERT_NO_FATAL_FAILURE(ExpectReasons(text, instance.name, workflow, counts)) << seed;
        }
      }
    }
  }
  EXPECT_GT(idle, Runs() / 10);
}

}  // namespace
}  // namespace orv_test
