#include "nodes/flow/Timer.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"start", "begins; a timer that runs already begins anew"},
    {"resume", "goes on after a stop: the time that had passed before it counts"},
};
constexpr NodeOutput kOutputs[] = {
    {"tick", false, "the time is over"},
    {"finished", false, "right after the last tick"},
};
constexpr NodeParameter kParameters[] = {
    NumberParameterRow("Milliseconds", "1000", 0, "the time of each tick"),
    NumberParameterRow("Times", "1", 0, "how many ticks"),
};

constexpr char kTicksLeft[] = "/TicksLeft";
constexpr char kRemaining[] = "/Remaining";

}  // namespace

constinit const NodeDescription Timer::kDescription = {
    .sentence = "Fires a signal after a time, once or several times",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool Timer::OnSignal(std::string_view signal) {
  if (signal == "start") {
    StopWork();
    Write(kTicksLeft, NumberParameter("Times"));
    Write(kRemaining, NumberParameter("Milliseconds"));
    return BeginAnew();
  }
  Continue();
  return true;
}

Sdk::WorkerNode::Outcome Timer::Work() {
  using Clock = std::chrono::steady_clock;
  while (Read(kTicksLeft) > 0) {
    const std::chrono::milliseconds remaining(std::max(0, Read(kRemaining)));
    const Clock::time_point begin = Clock::now();
    if (!Pause(remaining)) {
      const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
      Write(kRemaining, static_cast<std::int32_t>(std::max(remaining - passed, remaining * 0).count()));
      return Outcome::Stopped;
    }
    HoldChanges();
    Write(kTicksLeft, Read(kTicksLeft) - 1);
    Write(kRemaining, NumberParameter("Milliseconds"));
    FireOutput("tick");
  }
  FireLast("finished");
  return Outcome::Done;
}

std::int32_t Timer::Read(const char* entry) const {
  std::int32_t value = 0;
  WorkflowDictionary().GetValue(("/Timers/" + InstanceName() + entry).c_str(), &value);
  return value;
}

void Timer::Write(const char* entry, std::int32_t value) const {
  const std::string path = "/Timers/" + InstanceName() + entry;
  if (!WorkflowDictionary().SetValue(path.c_str(), value)) throw std::runtime_error("cannot write " + path);
}

}  // namespace OrvWorkFlow::Nodes
