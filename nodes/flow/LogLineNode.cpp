#include "nodes/flow/LogLineNode.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/flow/CronTimes.h"
#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"write", "writes a line"},
};
constexpr NodeOutput kOutputs[] = {
    {"written", false, "the line is there"},
    {"failed", false, "it cannot be written; why is in /LogLine/<instance>/Problem"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Text", "", "what the line says; line breaks become blanks"),
    TextParameterRow("File", "", "the file at whose end it is written"),
    BooleanParameterRow("Time", true, "whether the time comes first, as in 2026-11-22T03:00:00Z"),
};

std::string TimeText() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const ClockTime time = Clock::Utc(std::chrono::duration_cast<std::chrono::seconds>(since).count());
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ ", time.year, time.month, time.day, time.hour,
                time.minute, time.second);
  return text;
}

}  // namespace

constinit const NodeDescription LogLineNode::kDescription = {
    .sentence = "Writes a line to a log file",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool LogLineNode::OnSignal(std::string_view /*signal*/) {
  std::string line = TextParameter("Text");
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  if (BooleanParameter("Time")) line.insert(0, TimeText());
  line += '\n';
  const std::string file = TextParameter("File");
  const Sdk::TextHolder text;
  if (text->Assign(line.data(), line.size()) && FileSystem().AppendFileString(file.c_str(), text.get())) {
    FireOutput("written");
    return true;
  }
  const std::string problem = Sdk::WithReason(FileSystem(), "cannot write " + file);
  Record().SetText("Problem", problem);
  if (!IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), "failed")) TellUser(problem);
  FireOutput("failed");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
