// Nodes with texts that take words only: one that says which, and one that says no more than its parameters.
#include <new>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/NodeCreator.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {
namespace {

constexpr NodeInput kInputs[] = {
    {"paint", "tells what it read"},
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Brush", "", "the brush"),
    TextParameterRow("Note", "", "what is written beside it"),
    TextListParameterRow("Colours", "the colours"),
    TextListParameterRow("Paper", "the paper"),
};
constexpr NodeDescription kDescription = {.sentence = "Paints", .inputs = kInputs, .parameters = kParameters};

constexpr const char* kColours[] = {"red", "green", "blue"};
constexpr const char* kPapers[] = {"A4", "A3"};
constexpr ParameterRule kRules[] = {
    {.name = "Note", .may_be_left_out = true},
    {.name = "Colours", .words = kColours},
    {.name = "Paper", .words = kPapers, .any_case = true, .between = ""},
};

class Painter : public Sdk::WorkNodeBase {
 protected:
  using Sdk::WorkNodeBase::WorkNodeBase;

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    std::string read = TextParameter("Brush") + TextParameter("Note");
    for (const std::string& colour : TextListParameter("Colours")) read += " " + colour;
    for (const std::string& part : TextListParameter("Paper")) read += " " + part;
    TellUser(read);
    return true;
  }
};

class ChoosyPainter final : public Painter {
 public:
  static constexpr char kTypeName[] = "ChoosyPainter";
  ChoosyPainter() : Painter(kTypeName, kDescription, kRules) {}
};

class PlainPainter final : public Painter {
 public:
  static constexpr char kTypeName[] = "PlainPainter";
  PlainPainter() : Painter(kTypeName, kDescription) {}
};

WorkFlowFactory choosy_painter(new (std::nothrow) Sdk::NodeCreator<ChoosyPainter>);
WorkFlowFactory plain_painter(new (std::nothrow) Sdk::NodeCreator<PlainPainter>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
