// orvflow failed FLOW.xml: the signals that failed or were set aside, to look at, try again and give up.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <new>
#include <set>
#include <vector>

#include "base/text/Counting.h"
#include "base/text/Suggestion.h"
#include "orvflow/failed/KeptList.h"
#include "orvflow/failed/KeptState.h"
#include "orvflow/files/KeyFile.h"
#include "orvflow/shell/CommandDescription.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr KeptState::Words kWords = {
    "failed", "failed: --state ",
    "there is no saved state: the last run of the workflow has left nothing that failed, or its state "
    "is elsewhere (--state names it)"};

class FailedVerb final : public Verb {
 public:
  explicit FailedVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  enum class Action { List, Retry, Drop };

  void ReadWords();
  void ReadNumbers();
  void List(const KeptState& state) const;
  void Change(KeptState& state) const;
  void CheckNumbers(const KeptList& list, const KeptState& state) const;
  std::string Describe(const KeptList& before, const KeptList& after) const;

  std::string flow_;
  std::vector<std::string> words_;
  std::string state_file_;
  std::string key_file_;
  bool as_json_ = false;

  Action action_ = Action::List;
  bool takes_all_ = false;
  std::set<std::uint32_t> numbers_;
};

FailedVerb::FailedVerb(CLI::App& program)
    : Verb(program, "failed", "Shows signals that failed or were set aside; retries or drops them") {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file, as it was given to run")->type_name("");
  CLI::Option* const words = command().add_option("ACTION", words_, "list, or one of those below with its numbers");
  words->type_name("[N]");
  DeclareWords(words, {WordKind::OneOf({"list", "retry", "drop"}), {}});
  command().add_option("--state", state_file_, "As it was given to run")->type_name("FILE");
  AddKeyFileOption(command(), key_file_);
  AddFlag("--json", as_json_, "Prints the list as JSON (docs/failed.schema.json)");
  command().footer(
      "Actions:\n"
      "  list         what failed, when and why; without an action, too\n"
      "  retry N...   the next run delivers these signals once more; all for all of them\n"
      "  drop N...    they are given up\n"
      "\n"
      "Example:\n"
      "  orvflow failed flow.xml\n"
      "  orvflow failed flow.xml retry 2 5\n"
      "  orvflow run flow.xml");
}

ExitCode FailedVerb::Execute() {
  ReadWords();
  KeptState state({flow_, state_file_, key_file_}, kWords);
  if (action_ == Action::List) {
    List(state);
  } else {
    Change(state);
  }
  return ExitCode::Done;
}

void FailedVerb::ReadWords() {
  if (flow_.empty()) throw UsageError("no workflow file given");
  if (words_.empty()) return;
  const std::string& word = words_.front();
  if (word == "list") {
    if (words_.size() > 1) throw UsageError("list takes no numbers");
    return;
  }
  if (word != "retry" && word != "drop") {
    throw UsageError("unknown action " + word + Base::Suggest(word, {"list", "retry", "drop"}));
  }
  action_ = word == "retry" ? Action::Retry : Action::Drop;
  if (as_json_) throw UsageError("--json is for the list");
  ReadNumbers();
}

void FailedVerb::ReadNumbers() {
  if (words_.size() < 2) throw UsageError(words_.front() + ": which? Give the numbers that the list shows, or all");
  takes_all_ = words_.size() == 2 && words_[1] == "all";
  for (std::size_t i = 1; i < words_.size() && !takes_all_; ++i) {
    const std::string& word = words_[i];
    std::uint32_t number = 0;
    const std::from_chars_result result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size() || number == 0) {
      throw UsageError(words_.front() + " " + word + ": no number of the list");
    }
    numbers_.insert(number);
  }
}

void FailedVerb::List(const KeptState& state) const {
  const KeptState::OwnedDictionary dictionary = state.Look();
  const KeptList list = ReadKeptList(*dictionary);
  if (as_json_) {
    WriteStandardOutput(KeptListAsJson(list, state.flow(), state.shown_name()));
  } else {
    WriteStandardOutput(Visible(state.shown_name()) + ": " + CountedKept(list) + "\n" + KeptListAsText(list));
  }
}

void FailedVerb::CheckNumbers(const KeptList& list, const KeptState& state) const {
  for (const std::uint32_t number : numbers_) {
    const auto has_number = [&](const KeptSignal& signal) { return signal.number == number; };
    if (std::any_of(list.signals.begin(), list.signals.end(), has_number)) continue;
    throw FileError(ExitCode::Failed, state.shown_name(), "",
                    "no signal " + std::to_string(number) + " has failed; nothing was changed (orvflow failed " +
                        flow_ + " lists those that have)");
  }
}

void FailedVerb::Change(KeptState& state) const {
  const KeptState::OwnedDictionary dictionary = state.Open();
  const KeptList before = ReadKeptList(*dictionary);
  CheckNumbers(before, state);
  const ChooseNumber choose =
      takes_all_ ? ChooseNumber() : [&](std::uint32_t number) { return numbers_.contains(number); };
  if (!(action_ == Action::Retry ? RetryKept(*dictionary, before, choose) : DropKept(*dictionary, before, choose))) {
    throw std::bad_alloc();
  }
  const KeptList after = ReadKeptList(*dictionary);
  const bool is_finished = action_ == Action::Drop && after.Count() == 0 && state.IsFinished(*dictionary);
  if (before.Count() != after.Count() && is_finished) state.Remove();
  if (before.Count() != after.Count() && !is_finished) state.Save(*dictionary);
  WriteStandardOutput(Visible(state.shown_name()) + ": " + Describe(before, after) +
                      (before.Count() != 0 && is_finished ? "; nothing is left to do: the state is removed, and the "
                                                            "next run begins anew"
                                                          : "") +
                      "\n");
}

// What was done.
std::string FailedVerb::Describe(const KeptList& before, const KeptList& after) const {
  if (before.Count() == 0) return CountedKept(before);
  const std::size_t changed = before.Count() - after.Count();
  if (action_ == Action::Drop) {
    return Base::Counted(changed, "signal") + " given up" + (after.Count() == 0 ? "" : "; left: " + CountedKept(after));
  }
  std::string text = changed == 0 ? "nothing is to be delivered again"
                                  : "the next run delivers " + Base::Counted(changed, "signal") + " once more";
  const auto stays =
      static_cast<std::size_t>(std::count_if(after.signals.begin(), after.signals.end(), [&](const KeptSignal& signal) {
        return takes_all_ || numbers_.contains(signal.number);
      }));
  if (stays > 0) text += "; " + std::to_string(stays) + " cannot: a mapping is none";
  if (takes_all_ && after.more > 0) text += "; " + std::to_string(after.more) + " cannot: they were only counted";
  return text;
}

}  // namespace

std::unique_ptr<Verb> MakeFailedVerb(CLI::App& program) { return std::make_unique<FailedVerb>(program); }

}  // namespace OrvWorkFlow::Program
