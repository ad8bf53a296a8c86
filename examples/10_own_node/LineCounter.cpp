// A work node of one's own: counts the lines of a text file and writes the number to another one.
#include <algorithm>
#include <cstdint>
#include <new>
#include <string>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

ORV_WORKFLOW_PLUGIN();

namespace {

using namespace OrvWorkFlow;

constexpr NodeInput kInputs[] = {
    {"count", "counts the lines of the file"},
};
constexpr NodeOutput kOutputs[] = {
    {"counted", false, "the report is written"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("File", "", "the text file"),
    TextParameterRow("Report", "", "the file that gets the number"),
};
constexpr NodeDescription kDescription = {
    .sentence = "Counts the lines of a text file",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

class LineCounter final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "LineCounter";
  LineCounter() : WorkNodeBase(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    const std::string file = TextParameter("File");
    const Sdk::StreamHolder content;
    if (!FileSystem().ReadFileToStream(file.c_str(), content.get())) return Fail(file + ": cannot be read");
    const auto* first = static_cast<const char*>(content->GetData());
    const auto lines = static_cast<std::int32_t>(std::count(first, first + content->GetSize(), '\n'));
    WorkflowDictionary().SetValue(("/LineCounter/" + InstanceName()).c_str(), lines);

    const std::string report = TextParameter("Report");
    const std::string text = file + ": " + std::to_string(lines) + " lines\n";
    if (!FileSystem().WriteFileText(report.c_str(), text.c_str())) return Fail(report + ": cannot be written");
    FireOutput("counted");
    return true;
  }

  // The run ends with exit code 1 and this text.
  bool Fail(const std::string& problem) {
    const std::string text = Sdk::WithReason(FileSystem(), problem);
    WorkflowDictionary().SetValue("/Orvflow/Outcome", text.c_str());
    return true;
  }
};

WorkFlowFactory line_counter(new (std::nothrow) Sdk::NodeCreator<LineCounter>);

}  // namespace
