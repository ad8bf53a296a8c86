#include "orvflow/run/Outcome.h"

#include <algorithm>

#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kOutcome[] = "/Orvflow/Outcome";
constexpr char kDone[] = "done";
// What a node wrote that ended the run: "Code", "Text" and "By".
constexpr char kEnd[] = "/Orvflow/End";

}  // namespace

bool ReportOutcome(IDictionary& dictionary, const std::string& shown_name) {
  const std::string outcome = Base::TextAt(dictionary, kOutcome);
  if (outcome.empty() || outcome.starts_with(kDone)) return true;
  PrintErrorLine(FileError(ExitCode::Failed, shown_name, kOutcome, outcome).what());
  return false;
}

bool WasEnded(IDictionary& dictionary) { return dictionary.Exists(kEnd); }

ExitCode ReportEnd(IDictionary& dictionary, const std::string& shown_name, std::uint32_t waiting) {
  std::int32_t code = 0;
  dictionary.GetValue((std::string(kEnd) + "/Code").c_str(), &code);
  const std::string text = Base::TextAt(dictionary, std::string(kEnd) + "/Text");
  PrintErrorLine(shown_name + ": ended by " + Base::TextAt(dictionary, std::string(kEnd) + "/By") +
                 (text.empty() ? "" : ": " + text) +
                 (waiting == 0 ? "" : "; " + Base::Counted(waiting, "signal") + " not delivered"));
  return static_cast<ExitCode>(std::clamp(code, 0, 125));
}

}  // namespace OrvWorkFlow::Program
