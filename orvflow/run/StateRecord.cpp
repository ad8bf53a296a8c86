#include "orvflow/run/StateRecord.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "host/HostParts.h"
#include "host/files/HostFiles.h"
#include "host/state/RunRecords.h"
#include "journal/RecordReader.h"
#include "journal/StandingState.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kExtension[] = ".record";
// A state says in which run it was saved.
constexpr char kRunName[] = "/Orvflow/Run";
// How often it was saved before, in runs that were recorded. The record has it too, before the state: one that has seen
// fewer lost its end with the machine, and what the state holds is newer.
constexpr char kSaves[] = "/Orvflow/Saves";
// The record is begun anew with a checkpoint when it is larger.
constexpr std::uint64_t kLargest = std::uint64_t{64} << 20;

class WaitingSignals final : public IRunReport {
 public:
  void NodeAtWork(const Work& /*work*/) override {}
  void NodeThere(const Node& /*node*/) override {}
  void SignalWaiting(const Waiting& signal) override {
    texts_.push_back({signal.sender.type, signal.sender.instance, signal.sender.signal, signal.receiver.type,
                      signal.receiver.instance, signal.receiver.signal});
    numbers_.push_back(signal.number);
  }

  // Views of this.
  std::vector<Waiting> All() const {
    std::vector<Waiting> all;
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
      const std::array<std::string, 6>& texts = texts_[i];
      all.push_back({numbers_[i],
                     {texts[0].c_str(), texts[1].c_str(), texts[2].c_str()},
                     {texts[3].c_str(), texts[4].c_str(), texts[5].c_str()}});
    }
    return all;
  }

 private:
  std::vector<std::uint64_t> numbers_;
  std::vector<std::array<std::string, 6>> texts_;
};

std::uint64_t SavesOf(IDictionary& dictionary) {
  return std::strtoull(Base::TextAt(dictionary, kSaves).c_str(), nullptr, 10);
}

}  // namespace

void TakeSnapshot(IDictionary& dictionary, const std::string& before, Journal::RunRecord& record) {
  const Sdk::TextHolder text;
  if (!dictionary.SaveToText(text.get())) throw std::bad_alloc();
  record.Snapshot({text->GetText(), text->GetLength()}, before);
}

StateRecord::StateRecord(Host::WorkflowHost& host, const Host::StateFile& state, const std::string& flow)
    : host_(host),
      state_(state),
      flow_(flow),
      path_(state.path() + kExtension),
      shown_name_(state.shown_name() + kExtension) {}

StateRecord::~StateRecord() {
  if (!has_begun_) End(true);
}

StateRecord::Found StateRecord::Read() const {
  Found found;
  Journal::RecordReader reader(path_, Journal::RecordReader::Torn::IsTheEnd);
  Journal::Event event;
  while (reader.Next(&event)) found.standing.Take(event);
  found.is_torn = reader.is_torn();
  if (reader.state() == Journal::RecordReader::State::AtEnd) return found;
  throw FileError(
      ExitCode::DictionaryDamaged, shown_name_, "",
      reader.problem() +
          "; the run before was cut off, and what it did after its last save is not known: remove this file to "
          "go on from " +
          state_.shown_name() + ", or begin anew with --fresh");
}

// Of a run that does not go on from the record.
std::string StateRecord::DescribeOtherWay() const {
  return state_.Exists() ? "it goes on from the state that was saved before" : "it begins anew";
}

// "" when the run goes on from the record.
std::string StateRecord::WhyUnusable(const Journal::RunStanding& standing, IDictionary& dictionary) const {
  if (!standing.private_nodes().empty()) {
    const auto& [type, instance] = standing.private_nodes().front();
    return type + " " + instance + " keeps state of its own";
  }
  if (standing.has_lost_changes()) return "its record lacks changes, for want of memory";
  for (const std::string& name : Base::NamesBelow(dictionary, WorkflowSchema::kGlobalUtilityObjects)) {
    if (!Journal::IsOfLibrary(name)) return "the object " + name + " keeps state of its own";
  }
  return {};
}

// Nothing when there is none that says more than the state does.
std::optional<StateRecord::Found> StateRecord::Find(IDictionary& dictionary) const {
  const Host::FileLook look = Host::LookAtFile(path_);
  if (look.kind == Host::FileKind::Missing) return {};
  const std::string distrust = Host::WhyNotTrusted(path_);
  if (look.kind != Host::FileKind::Readable || !distrust.empty()) {
    throw FileError(ExitCode::Failed, shown_name_, "",
                    (distrust.empty() ? "cannot be read: " + look.reason : distrust) +
                        "; the run before may have been cut off, and goes on from this file");
  }
  if (std::ifstream(path_).peek() == std::ifstream::traits_type::eof()) return {};  // It ended before its run.
  Found found = Read();
  const Journal::RunStanding& standing = found.standing;
  if (standing.run() == 0 || standing.has_ended() || !standing.has_snapshot()) {
    if (found.is_torn) {
      SayThatStateCounts();
    } else if (standing.run() == 0) {
      PrintErrorLine(flow_ + ": the record of the run before holds nothing but zeros; " + DescribeOtherWay());
    }
    return {};
  }
  if (state_.Exists()) {
    // It may be broken: whoever continues from it says so.
    if (!dictionary.LoadFile(state_.path().c_str())) return {};
    found.saves = SavesOf(dictionary);
    const std::string saved_in = Base::TextAt(dictionary, kRunName);
    if (saved_in != standing.name() && saved_in != standing.before()) {
      throw FileError(ExitCode::DictionaryDamaged, shown_name_, "",
                      "is of another run than " + state_.shown_name() +
                          "; remove this file to go on from the state, or begin anew with --fresh");
    }
  } else if (standing.was_continued() || standing.was_saved()) {
    return {};  // Whoever removes a state wants to begin anew.
  }
  return found;
}

// The dictionary becomes what the state would be. False, with a line that says why, when the record cannot be used.
bool StateRecord::Fill(const Found& found, IDictionary& dictionary) const {
  const Journal::RunStanding& standing = found.standing;
  Journal::MakeDictionaryOf(standing, path_, dictionary);
  if (SavesOf(dictionary) < found.saves) {
    SayThatStateCounts();
    return false;
  }
  const std::string why = WhyUnusable(standing, dictionary);
  if (!why.empty()) {
    PrintErrorLine(flow_ + ": the run before was cut off, and " + why + "; " + DescribeOtherWay());
    return false;
  }
  Journal::WriteStanding(standing, dictionary);
  if (!Host::SetAsideNotTaken(dictionary, state_)) throw std::bad_alloc();
  return true;
}

bool StateRecord::Recover() {
  const Host::WorkflowHost::OwnedDictionary dictionary = host_.MakeDictionary();
  const std::optional<Found> found = Find(*dictionary);
  if (!found || !Fill(*found, *dictionary)) return false;
  if (!state_.Save([&](const char* file) { return dictionary->SaveFile(file); })) {
    throw FileError(ExitCode::Failed, state_.shown_name(), "",
                    "cannot be written; the run before was cut off, and " + shown_name_ +
                        " says where it was: make room and run again");
  }
  Host::RenumberDeaths(state_, found->standing.delivered() > 0);
  Report(*found);
  return true;
}

bool StateRecord::Look(IDictionary& dictionary) const {
  const std::optional<Found> found = Find(dictionary);
  return found && Fill(*found, dictionary);
}

// The record was begun for a save that the disk has, or by a run of which it has nothing.
void StateRecord::SayThatStateCounts() const {
  PrintErrorLine(flow_ + ": the machine went down during the run before, and the disk lacks the end of its record; " +
                 (state_.Exists() ? "it goes on from the state that was saved after that" : "it begins anew"));
}

void StateRecord::Report(const Found& found) const {
  const Journal::RunStanding& standing = found.standing;
  std::string line = flow_ +
                     (found.is_torn ? ": the machine went down during the run before, and the disk lacks the end of "
                                      "its record; it goes on where that ends: "
                                    : ": the run before was cut off; it goes on from its record where it was: ") +
                     Base::Counted(standing.MakeQueue().size(), "signal") + " waiting, " +
                     Base::Counted(standing.MakeRebootSignals().size(), "node") + " to go on";
  if (const Journal::Route* const unfinished = standing.unfinished()) {
    line += ", " + unfinished->receiver_type + " " + unfinished->receiver_instance + " gets \"" +
            unfinished->receiver_signal + "\" once more";
  }
  PrintErrorLine(line);
}

bool StateRecord::IsThere() const { return Host::FindFileKind(path_) != Host::FileKind::Missing; }

void StateRecord::Remove() const { std::remove(path_.c_str()); }

void StateRecord::Open(const Journal::RunNote& note) {
  note_ = note;
  note_.name = host_.parts().delivery_keys.run();
  try {
    record_.emplace(path_, shown_name_, Journal::RunRecord::Earlier::Replaced);
    record_->Begin(note_);
  } catch (const Host::HostError& error) {
    if (error.kind() != Host::HostError::Kind::InUse) Remove();
    PrintErrorLine(std::string(error.what()) + "; a run that is cut off goes on from the state that was saved last");
  }
}

void StateRecord::Begin(Journal::DictionaryObservers& observers) {
  if (!record_) return;
  IDictionary& dictionary = host_.dictionary();
  const std::string before = Base::TextAt(dictionary, kRunName);
  if (!dictionary.SetValue(kRunName, note_.name.c_str())) throw std::bad_alloc();
  TakeSnapshot(dictionary, before, *record_);
  observers.Add(*record_);
  has_begun_ = true;
}

void StateRecord::TellProblem() const {
  const std::string problem = record_ ? record_->problem() : std::string();
  if (problem.empty() || is_problem_told_.exchange(true)) return;
  PrintErrorLine(shown_name_ + ": the record ended before the run: " + problem);
}

void StateRecord::KeepName() const {
  const std::string why = Host::KeepName(path_);
  if (!why.empty()) PrintErrorLine(shown_name_ + ": its folder is not safe from a power failure: " + why);
}

bool StateRecord::CountSave() {
  if (!record_) return true;
  IDictionary& dictionary = host_.dictionary();
  return dictionary.SetValue(kSaves, std::to_string(SavesOf(dictionary) + 1).c_str());
}

void StateRecord::NoteSave() {
  if (!record_) return;
  TellProblem();
  if (record_->Size() < kLargest) return record_->NoteSave();
  WaitingSignals waiting;
  if (!host_.engine().ReportQueue(&waiting, UINT32_MAX)) return record_->NoteSave();
  note_.continued = true;
  record_->BeginAnew(note_, waiting.All());
  TakeSnapshot(host_.dictionary(), note_.name, *record_);
}

bool StateRecord::NeedsCheckpoint() const {
  TellProblem();
  return !record_ || !record_->IsExact() || record_->Size() >= kLargest;
}

void StateRecord::End(bool is_settled) {
  if (!record_) return;
  TellProblem();
  if (is_settled) record_->Remove();
  record_.reset();
}

}  // namespace OrvWorkFlow::Program
