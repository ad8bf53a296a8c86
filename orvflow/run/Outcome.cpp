#include "orvflow/run/Outcome.h"

#include "base/dictionary/DictionaryReading.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kOutcome[] = "/Orvflow/Outcome";
constexpr char kDone[] = "done";

}  // namespace

bool ReportOutcome(IDictionary& dictionary, const std::string& shown_name) {
  const std::string outcome = Base::TextAt(dictionary, kOutcome);
  if (outcome.empty() || outcome.starts_with(kDone)) return true;
  PrintErrorLine(FileError(ExitCode::Failed, shown_name, kOutcome, outcome).what());
  return false;
}

}  // namespace OrvWorkFlow::Program
