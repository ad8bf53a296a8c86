#include "orvflow/BoxPrinter.h"

#include <string_view>
#include <utility>

#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// The caption of the library's own boxes; others name the node that speaks.
constexpr std::string_view kLibraryCaption = "Workflowengine";

void CutStops(std::string& text) { text.erase(text.find_last_not_of(". ") + 1); }

}  // namespace

BoxPrinter::BoxPrinter(std::string shown_name)
    : shown_name_(std::move(shown_name)), previous_(SetMessageBoxRoute({&BoxPrinter::Print, this})) {}

BoxPrinter::~BoxPrinter() { SetMessageBoxRoute(previous_); }

std::string BoxPrinter::TextForLine(std::string text) {
  CutStops(text);
  for (const std::string_view request : {"Press OK to continue", "Press the OK button to continue"}) {
    if (!text.ends_with(request)) continue;
    text.erase(text.size() - request.size());
    CutStops(text);
  }
  return text;
}

void BoxPrinter::Print(const char* text, const char* caption, void* printer) {
  auto& self = *static_cast<BoxPrinter*>(printer);
  ++self.count_;
  std::string line = self.shown_name_ + ": ";
  if (caption != nullptr && caption != kLibraryCaption) line.append(caption).append(": ");
  PrintErrorLine(line + TextForLine(text == nullptr ? "" : text));
}

}  // namespace OrvWorkFlow::Program
