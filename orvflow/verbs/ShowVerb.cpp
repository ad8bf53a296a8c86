// orvflow show FILE: what a recorded run was like at one of its moments, or in what two of them differ.
#include <list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "journal/GrowingFile.h"
#include "journal/MomentSearch.h"
#include "journal/SeekTable.h"
#include "orvflow/document/DifferencesOutput.h"
#include "orvflow/files/DictionaryText.h"
#include "orvflow/history/MomentOutput.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/Colours.h"
#include "orvflow/terminal/HostErrors.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Moment;
using Journal::MomentSearch;

// One way through the record.
struct Look {
  Look(const std::string& file, IDictionary& scratch, unsigned run, std::vector<Moment> looked_for)
      : record(file), moments(std::move(looked_for)), search(scratch, file, run, moments) {}

  RecordFile record;
  const std::vector<Moment> moments;
  MomentSearch search;
};

class ShowVerb final : public Verb {
 public:
  explicit ShowVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  std::vector<Moment> ReadMoments() const;
  Moment ReadMoment(const char* option, const std::string& text) const;
  ExitCode ExecuteChecked();
  void Read(Look& look) const;
  RunFate FateOf(const Look& look) const;
  void CheckFound(const Look& look) const;
  ExitCode ShowDifferences(const std::vector<ShownMoment>& shown) const;
  void ShowMoment(const ShownMoment& shown, IDictionary& dictionary) const;
  void ShowEntry(IDictionary& dictionary) const;
  ProgramError NoEntry() const;

  std::string file_;
  std::string path_;
  std::optional<std::string> at_;
  std::vector<std::string> diff_;
  unsigned run_ = 0;
  bool as_xml_ = false;
  bool as_json_ = false;
  ColourUse colour_use_ = ColourUse::Auto;
};

ShowVerb::ShowVerb(CLI::App& program)
    : Verb(program, "show", "Shows a recorded run as it was after any of its deliveries (see run --record)") {
  command().add_option("FILE", file_, "The record: of --record, or the one beside a state")->type_name("");
  command()
      .add_option("PATH", path_,
                  "Only this entry: its value, or the names of the entries below it, as dict prints them")
      ->type_name("");
  command()
      .add_option("--at", at_, "After the delivery of this number; 0 is before the first one. Else the end of the run")
      ->type_name("N");
  command()
      .add_option("--diff", diff_, "In what the dictionary differs between two deliveries, as diff prints it")
      ->type_name("N M")
      ->type_size(2)
      ->expected(1)
      ->allow_extra_args(false);
  command().add_option("--run", run_, "The record's run with this number; else the last one")->type_name("N");
  AddFlag("--xml", as_xml_, "The dictionary, or what is below PATH, as a dictionary file");
  AddFlag("--json", as_json_, "JSON; docs/show.schema.json describes it, or docs/differences.schema.json");
  AddColourOption(command(), colour_use_);
  command().footer(
      "Deliveries are numbered as history shows them. After delivery N is all that stands in the record up to\n"
      "its end: also what other nodes did meanwhile. Without PATH, --xml or --json the entries of the workflow's\n"
      "wiring, /WorkFlowEngine, are counted only. Exit codes of --diff: 0 no differences, 1 some, 2 usage or not "
      "found.\n"
      "\n"
      "Example:\n"
      "  orvflow run flow.xml --record flow.record\n"
      "  orvflow show flow.record --at 17\n"
      "  orvflow show flow.record --at 17 /Backup/Count\n"
      "  orvflow show flow.record --diff 0 17\n"
      "  orvflow show flow.record --xml > end.xml");
}

ExitCode ShowVerb::Execute() {
  if (diff_.empty()) return ExecuteChecked();
  try {
    return ExecuteChecked();
  } catch (const Host::HostError& error) {
    const ExitCode code = CodeOf(error.kind());  // 1 would say "different".
    throw ProgramError(code == ExitCode::Failed ? ExitCode::Usage : code, error.what());
  } catch (const ProgramError& error) {
    throw ProgramError(error.code() == ExitCode::Failed ? ExitCode::Usage : error.code(), error.what());
  }
}

ExitCode ShowVerb::ExecuteChecked() {
  if (file_.empty()) throw UsageError("no record given");
  if (as_xml_ && as_json_) throw UsageError("--xml and --json are two forms; give one of them");
  if (as_xml_ && !diff_.empty()) throw UsageError("--diff shows differences; --xml shows a dictionary");
  if (at_ && !diff_.empty()) throw UsageError("--at and --diff ask for different things; give one of them");
  while (path_.ends_with('/')) path_.pop_back();
  if (!path_.empty() && !path_.starts_with('/')) throw UsageError(path_ + ": no path; one begins with /");
  const std::vector<Moment> moments = ReadMoments();
  const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
  const Host::WorkflowHost::OwnedDictionary dictionary = host->MakeDictionary();
  std::list<Look> looks;
  if (moments.size() > 1 && Journal::SeekTable(RecordFile(file_).path()).CountPoints() > 0) {
    for (const Moment& moment : moments) looks.emplace_back(file_, *dictionary, run_, std::vector<Moment>{moment});
  } else {
    looks.emplace_back(file_, *dictionary, run_, moments);
  }
  std::vector<ShownMoment> shown;
  for (Look& look : looks) {
    Read(look);
    for (std::size_t i = 0; i < look.moments.size(); ++i) {
      shown.push_back({look.search, look.moments[i], look.search.found()[i], FateOf(look)});
    }
  }
  ExitCode code = ExitCode::Done;
  if (diff_.empty()) {
    ShowMoment(shown.front(), *dictionary);
  } else {
    code = ShowDifferences(shown);
  }
  for (const Look& look : looks) look.record.ThrowIfDamaged();
  return code;
}

// To its end, so that damage anywhere is told; of a long one, for which there is a table, only what is needed.
void ShowVerb::Read(Look& look) const {
  MomentSearch& search = look.search;
  const unsigned run = look.record.SeekTo(run_, look.moments, search);
  const auto is_done = [&] { return run != 0 && search.run() == run && search.IsAllFound(); };
  Journal::Event event;
  while (!is_done() && look.record.reader().Next(&event)) search.Take(event);
  search.Finish();
  if (!search.IsAllFound()) look.record.ThrowIfDamaged();
  CheckFound(look);
}

std::vector<Moment> ShowVerb::ReadMoments() const {
  std::vector<Moment> moments;
  for (const std::string& number : diff_) moments.push_back(ReadMoment("--diff", number));
  if (diff_.empty()) moments.push_back(at_ ? ReadMoment("--at", *at_) : Moment());
  return moments;
}

Moment ShowVerb::ReadMoment(const char* option, const std::string& text) const {
  const std::optional<std::uint64_t> number = ParseSignalNumber(text);
  if (!number) throw UsageError(std::string(option) + " " + text + ": no delivery's number, such as 17 or +3");
  return {*number == 0 ? Moment::Point::Start : Moment::Point::Delivery, *number};
}

// A run that did not say that it ended was killed, unless it still runs.
RunFate ShowVerb::FateOf(const Look& look) const {
  if (look.search.has_ended()) return RunFate::Ended;
  return !look.search.IsFollowed() && Journal::IsGrowing(look.record.path()) ? RunFate::GoesOn : RunFate::Killed;
}

void ShowVerb::CheckFound(const Look& look) const {
  const MomentSearch& search = look.search;
  if (search.run() == 0) {
    throw FileError(ExitCode::Failed, file_, "", run_ == 0 ? "holds no run" : "holds no run " + std::to_string(run_));
  }
  const std::string run = "run " + std::to_string(search.run());
  for (std::size_t i = 0; i < look.moments.size(); ++i) {
    const Journal::MomentFound& found = search.found()[i];
    if (!found.is_found) {
      const std::string number = SignalNumberText(look.moments[i].number);
      if (search.HasBegun(look.moments[i].number)) {
        throw FileError(ExitCode::Failed, file_, "", run + " has no end of delivery " + number + ", which had begun");
      }
      const std::string last = search.last_ended() == 0
                                   ? "; none has ended"
                                   : "; the last one that ended is " + SignalNumberText(search.last_ended());
      throw FileError(ExitCode::Failed, file_, "", run + " has no delivery " + number + last);
    }
    if (!found.has_dictionary) {
      throw FileError(ExitCode::Failed, file_, "",
                      run +
                          " holds no dictionary there: it was recorded by an older program, or was cut off before "
                          "the workflow was loaded; orvflow history shows what there is");
    }
    if (found.lacks_changes) {
      PrintErrorLine(file_ + ": " + run +
                     " lacks changes of the dictionary, for want of memory: what is shown may "
                     "differ from what was");
    }
  }
}

ExitCode ShowVerb::ShowDifferences(const std::vector<ShownMoment>& shown) const {
  std::vector<Document> documents;
  std::vector<std::string> names;
  for (const ShownMoment& one : shown) {
    documents.push_back(Document::Read(one.found.dictionary, file_));
    names.push_back(file_ + " " + NameOf(one));
  }
  std::vector<Difference> differences = FindDifferences(documents.front(), documents.back());
  std::erase_if(differences, [&](const Difference& difference) { return !IsAtOrBelow(difference.path, path_); });
  WriteStandardOutput(
      as_json_ ? DifferencesAsJson(differences, names.front(), names.back())
               : DifferencesAsText(differences, names.front(), names.back(), Colours::ForOutput(colour_use_)));
  return differences.empty() ? ExitCode::Done : ExitCode::Failed;
}

void ShowVerb::ShowMoment(const ShownMoment& shown, IDictionary& dictionary) const {
  if (as_json_) {
    const std::optional<std::string> text = MomentAsJson(shown, path_);
    if (!text) throw NoEntry();
    return WriteStandardOutput(*text);
  }
  if (path_.empty()) return WriteStandardOutput(as_xml_ ? shown.found.dictionary : MomentAsText(shown));
  const std::string& text = shown.found.dictionary;
  if (!dictionary.LoadFromText(text.data(), text.size())) throw std::bad_alloc();
  if (!dictionary.Exists(path_.c_str())) throw NoEntry();
  if (!as_xml_) return ShowEntry(dictionary);
  const Sdk::StreamHolder stream;
  if (!dictionary.SaveSubtreeToStream(path_.c_str(), stream.get())) throw std::bad_alloc();
  WriteStandardOutput({static_cast<const char*>(stream->GetData()), stream->GetSize()});
}

void ShowVerb::ShowEntry(IDictionary& dictionary) const {
  if (const std::optional<std::string> value = ReadValue(dictionary, path_)) return WriteStandardOutput(*value);
  const Sdk::TextListHolder names;
  if (!dictionary.GetEntries(path_.c_str(), names.get())) throw NoEntry();
  std::string lines;
  for (const std::string& name : names.Texts()) lines += name + '\n';
  WriteStandardOutput(lines);
}

ProgramError ShowVerb::NoEntry() const { return FileError(ExitCode::Failed, file_, path_, "no such entry"); }

}  // namespace

std::unique_ptr<Verb> MakeShowVerb(CLI::App& program) { return std::make_unique<ShowVerb>(program); }

}  // namespace OrvWorkFlow::Program
