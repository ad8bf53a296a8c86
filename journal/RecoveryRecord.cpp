#include "journal/RecoveryRecord.h"

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

namespace OrvWorkFlow::Journal {

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

void TakeSnapshot(IDictionary& dictionary, const std::string& before, RunRecord& record) {
  const Sdk::TextHolder text;
  if (!dictionary.SaveToText(text.get())) throw std::bad_alloc();
  record.Snapshot({text->GetText(), text->GetLength()}, before);
}

RecoveryRecord::RecoveryRecord(Host::WorkflowHost& host, const Host::StateFile& state, const std::string& flow)
    : host_(host),
      state_(state),
      flow_(flow),
      tell_(host.parts().tell),
      path_(PathBeside(state)),
      shown_name_(state.shown_name() + kExtension) {}

std::string RecoveryRecord::PathBeside(const Host::StateFile& state) { return state.path() + kExtension; }

RecoveryRecord::~RecoveryRecord() {
  if (!has_begun_) End(true);
}

RecoveryRecord::Found RecoveryRecord::Read() const {
  Found found;
  RecordReader reader(path_, RecordReader::Torn::IsTheEnd);
  Event event;
  while (reader.Next(&event)) found.standing.Take(event);
  found.is_torn = reader.is_torn();
  if (reader.state() == RecordReader::State::AtEnd) return found;
  throw Host::HostError(
      Host::HostError::Kind::Damaged, shown_name_, "",
      reader.problem() +
          "; the run before was cut off, and what it did after its last save is not known: remove this file to "
          "go on from " +
          state_.shown_name() + ", or " + HowToBeginAnew());
}

std::string RecoveryRecord::HowToBeginAnew() const {
  const std::string_view words = state_.words().begin_anew;
  return std::string(words == Host::StateWords{}.begin_anew ? "remove both to begin anew" : words);
}

// Of a run that does not go on from the record.
std::string RecoveryRecord::DescribeOtherWay() const {
  return state_.Exists() ? "it goes on from the state that was saved before" : "it begins anew";
}

// "" when the run goes on from the record.
std::string RecoveryRecord::WhyUnusable(const RunStanding& standing, IDictionary& dictionary) const {
  if (!standing.private_nodes().empty()) {
    const auto& [type, instance] = standing.private_nodes().front();
    return type + " " + instance + " keeps state of its own";
  }
  if (standing.has_lost_changes()) return "its record lacks changes, for want of memory";
  for (const std::string& name : Base::NamesBelow(dictionary, WorkflowSchema::kGlobalUtilityObjects)) {
    if (!IsOfLibrary(name)) return "the object " + name + " keeps state of its own";
  }
  return {};
}

// Nothing when there is none that says more than the state does.
std::optional<RecoveryRecord::Found> RecoveryRecord::Find(IDictionary& dictionary) const {
  const Host::FileLook look = Host::LookAtFile(path_);
  if (look.kind == Host::FileKind::Missing) return {};
  const std::string distrust = Host::WhyNotTrusted(path_);
  if (look.kind != Host::FileKind::Readable || !distrust.empty()) {
    throw Host::HostError(Host::HostError::Kind::Failed, shown_name_, "",
                          (distrust.empty() ? "cannot be read: " + look.reason : distrust) +
                              "; the run before may have been cut off, and goes on from this file");
  }
  if (std::ifstream(path_).peek() == std::ifstream::traits_type::eof()) return {};  // It ended before its run.
  Found found = Read();
  const RunStanding& standing = found.standing;
  if (standing.run() == 0 || standing.has_ended() || !standing.has_snapshot()) {
    if (found.is_torn) {
      SayThatStateCounts();
    } else if (standing.run() == 0) {
      Tell(flow_ + ": the record of the run before holds nothing but zeros; " + DescribeOtherWay());
    }
    return {};
  }
  if (state_.Exists()) {
    // It may be broken: whoever continues from it says so.
    if (!dictionary.LoadFile(state_.path().c_str())) return {};
    found.saves = SavesOf(dictionary);
    const std::string saved_in = Base::TextAt(dictionary, kRunName);
    if (saved_in != standing.name() && saved_in != standing.before()) {
      throw Host::HostError(Host::HostError::Kind::Damaged, shown_name_, "",
                            "is of another run than " + state_.shown_name() +
                                "; remove this file to go on from the state, or " + HowToBeginAnew());
    }
  } else if (standing.was_continued() || standing.was_saved()) {
    return {};  // Whoever removes a state wants to begin anew.
  }
  return found;
}

// The dictionary becomes what the state would be. False, with a line that says why, when the record cannot be used.
bool RecoveryRecord::Fill(const Found& found, IDictionary& dictionary) const {
  const RunStanding& standing = found.standing;
  MakeDictionaryOf(standing, path_, dictionary);
  if (SavesOf(dictionary) < found.saves) {
    SayThatStateCounts();
    return false;
  }
  const std::string why = WhyUnusable(standing, dictionary);
  if (!why.empty()) {
    Tell(flow_ + ": the run before was cut off, and " + why + "; " + DescribeOtherWay());
    return false;
  }
  WriteStanding(standing, dictionary);
  if (!Host::SetAsideNotTaken(dictionary, state_)) throw std::bad_alloc();
  return true;
}

bool RecoveryRecord::Recover() {
  const Host::WorkflowHost::OwnedDictionary dictionary = host_.MakeDictionary();
  const std::optional<Found> found = Find(*dictionary);
  if (!found || !Fill(*found, *dictionary)) return false;
  if (!state_.Save([&](const char* file) { return dictionary->SaveFile(file); })) {
    throw Host::HostError(Host::HostError::Kind::Failed, state_.shown_name(), "",
                          "cannot be written; the run before was cut off, and " + shown_name_ +
                              " says where it was: make room and run again");
  }
  Host::RenumberDeaths(state_, found->standing.delivered() > 0);
  Report(*found);
  return true;
}

bool RecoveryRecord::Look(IDictionary& dictionary) const {
  const std::optional<Found> found = Find(dictionary);
  return found && Fill(*found, dictionary);
}

// The record was begun for a save that the disk has, or by a run of which it has nothing.
void RecoveryRecord::SayThatStateCounts() const {
  Tell(flow_ + ": the machine went down during the run before, and the disk lacks the end of its record; " +
       (state_.Exists() ? "it goes on from the state that was saved after that" : "it begins anew"));
}

void RecoveryRecord::Report(const Found& found) const {
  const RunStanding& standing = found.standing;
  std::string line = flow_ +
                     (found.is_torn ? ": the machine went down during the run before, and the disk lacks the end of "
                                      "its record; it goes on where that ends: "
                                    : ": the run before was cut off; it goes on from its record where it was: ") +
                     Base::Counted(standing.MakeQueue().size(), "signal") + " waiting, " +
                     Base::Counted(standing.MakeRebootSignals().size(), "node") + " to go on";
  if (const Route* const unfinished = standing.unfinished()) {
    line += ", " + unfinished->receiver_type + " " + unfinished->receiver_instance + " gets \"" +
            unfinished->receiver_signal + "\" once more";
  }
  Tell(line);
}

bool RecoveryRecord::IsThere() const { return Host::FindFileKind(path_) != Host::FileKind::Missing; }

void RecoveryRecord::Remove() const { std::remove(path_.c_str()); }

void RecoveryRecord::Open(const RunNote& note) {
  note_ = note;
  note_.name = host_.parts().delivery_keys.run();
  try {
    record_.emplace(path_, shown_name_, RunRecord::Earlier::Replaced);
    record_->Begin(note_);
  } catch (const Host::HostError& error) {
    if (error.kind() != Host::HostError::Kind::InUse) Remove();
    Tell(std::string(error.what()) + "; a run that is cut off goes on from the state that was saved last");
  }
}

void RecoveryRecord::Begin(DictionaryObservers& observers) {
  if (!record_) return;
  IDictionary& dictionary = host_.dictionary();
  const std::string before = Base::TextAt(dictionary, kRunName);
  if (!dictionary.SetValue(kRunName, note_.name.c_str())) throw std::bad_alloc();
  TakeSnapshot(dictionary, before, *record_);
  observers.Add(*record_);
  has_begun_ = true;
}

void RecoveryRecord::TellProblem() const {
  const std::string problem = record_ ? record_->problem() : std::string();
  if (problem.empty() || is_problem_told_.exchange(true)) return;
  Tell(shown_name_ + ": the record ended before the run: " + problem);
}

void RecoveryRecord::KeepName() const {
  const std::string why = Host::KeepName(path_);
  if (!why.empty()) Tell(shown_name_ + ": its folder is not safe from a power failure: " + why);
}

bool RecoveryRecord::CountSave() {
  if (!record_) return true;
  IDictionary& dictionary = host_.dictionary();
  return dictionary.SetValue(kSaves, std::to_string(SavesOf(dictionary) + 1).c_str());
}

void RecoveryRecord::NoteSave() {
  if (!record_) return;
  TellProblem();
  if (record_->Size() < kLargest) return record_->NoteSave();
  WaitingSignals waiting;
  if (!host_.engine().ReportQueue(&waiting, UINT32_MAX)) return record_->NoteSave();
  note_.continued = true;
  record_->BeginAnew(note_, waiting.All());
  TakeSnapshot(host_.dictionary(), note_.name, *record_);
}

bool RecoveryRecord::NeedsCheckpoint() const {
  TellProblem();
  return !record_ || !record_->IsExact() || record_->Size() >= kLargest;
}

// The record stays where it says more than the state does.
bool RecoveryRecord::IsSettled(const Host::RunResult& result) {
  const bool is_idle = result.end == Host::RunEnd::Idle || result.end == Host::RunEnd::Ended;
  const bool lacks_failures = result.finished_state == Host::FinishedState::NotSaved;
  return is_idle ? !lacks_failures : result.saved;
}

void RecoveryRecord::End(bool is_settled) {
  if (!record_) return;
  TellProblem();
  if (is_settled) record_->Remove();
  record_.reset();
}

}  // namespace OrvWorkFlow::Journal
