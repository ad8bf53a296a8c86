#include "orvflow/terminal/BoxPrinter.h"

#include <string_view>
#include <utility>

#include "base/lock/Mutex.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// The caption of the library's own boxes; others name the node that speaks.
constexpr std::string_view kLibraryCaption = "Workflowengine";
constexpr std::string_view kExceptionEnd = "threw an exception";
// As many distinct texts are remembered; what comes after them is printed each time.
constexpr std::size_t kMostTexts = 1000;

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

void BoxPrinter::SetReason(const std::string& reason) {
  const Base::Hold lock(mutex_);
  reasons_[std::this_thread::get_id()] = reason;
}

std::string BoxPrinter::TakeReason() {
  const Base::Hold lock(mutex_);
  const auto reason = reasons_.extract(std::this_thread::get_id());
  return reason.empty() ? std::string() : reason.mapped();
}

bool BoxPrinter::IsNew(const std::string& text) {
  const Base::Hold lock(mutex_);
  const auto known = places_.find(text);
  if (known != places_.end()) {
    ++texts_[known->second].second;
    return false;
  }
  if (texts_.size() < kMostTexts) {
    texts_.emplace_back(text, 1);
    places_.emplace(text, texts_.size() - 1);
  }
  return true;
}

std::vector<std::pair<std::string, std::uint64_t>> BoxPrinter::GetTexts() const {
  const Base::Hold lock(mutex_);
  return texts_;
}

void BoxPrinter::PrintRepeated() const {
  for (const auto& [text, times] : GetTexts()) {
    if (times > 1) PrintErrorLine(shown_name_ + ": " + std::to_string(times) + " times: " + text);
  }
}

void BoxPrinter::Print(const char* text, const char* caption, void* printer) {
  auto& self = *static_cast<BoxPrinter*>(printer);
  ++self.count_;
  std::string line;
  if (caption != nullptr && caption != kLibraryCaption) line.append(caption).append(": ");
  line += TextForLine(text == nullptr ? "" : text);
  if (line.ends_with(kExceptionEnd)) {
    const std::string reason = self.TakeReason();
    if (!reason.empty()) line += ": " + reason;
  }
  if (self.listener_) self.listener_(line);
  if (self.IsNew(line)) PrintErrorLine(self.shown_name_ + ": " + line);
}

}  // namespace OrvWorkFlow::Program
