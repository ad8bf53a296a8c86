// orvflow bridge FLOW.xml: what the bridges of a saved state have to send, and the dead letters, to send again or to
// give up.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <new>
#include <set>
#include <vector>

#include "base/text/Counting.h"
#include "base/text/Suggestion.h"
#include "orvflow/bridge/BridgeList.h"
#include "orvflow/failed/KeptList.h"
#include "orvflow/failed/KeptState.h"
#include "orvflow/files/KeyFile.h"
#include "orvflow/shell/CommandDescription.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr KeptState::Words kWords = {
    "bridge", "bridge: --state ",
    "there is no saved state: the last run of the workflow has left nothing to send, or its state is "
    "elsewhere (--state names it)"};

class BridgeVerb final : public Verb {
 public:
  explicit BridgeVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  enum class Action { List, Retry, Drop };

  void ReadWords();
  void ReadNumbers();
  BridgeList ReadList(IDictionary& state) const;
  void List(const KeptState& state) const;
  void Change(KeptState& state) const;
  void CheckNumbers(const BridgeList& list, const KeptState& state) const;
  std::string Describe(std::size_t changed, std::size_t left) const;

  std::string flow_;
  std::vector<std::string> words_;
  std::string instance_;
  std::string state_file_;
  std::string key_file_;
  bool as_json_ = false;

  Action action_ = Action::List;
  bool takes_all_ = false;
  std::set<std::uint64_t> numbers_;
};

BridgeVerb::BridgeVerb(CLI::App& program)
    : Verb(program, "bridge", "Shows what bridges have to send; retries or drops their dead letters") {
  command().add_option("FLOW.xml", flow_, "The workflow's dictionary file, as it was given to run")->type_name("");
  CLI::Option* const words = command().add_option("ACTION", words_, "list, or one of those below with its numbers");
  words->type_name("[N]");
  DeclareWords(words, {WordKind::OneOf({"list", "retry", "drop"}), {}});
  command().add_option("--instance", instance_, "Of this bridge only")->type_name("NAME");
  command().add_option("--state", state_file_, "As it was given to run")->type_name("FILE");
  AddKeyFileOption(command(), key_file_);
  AddFlag("--json", as_json_, "Prints the list as JSON (docs/bridges.schema.json)");
  command().footer(
      "Actions:\n"
      "  list         what waits and what was refused, and why; without an action, too\n"
      "  retry N...   the next run sends these dead letters again; all for all of them\n"
      "  drop N...    they are given up\n"
      "\n"
      "Example:\n"
      "  orvflow bridge flow.xml\n"
      "  orvflow bridge flow.xml retry 3\n"
      "  orvflow run flow.xml");
}

ExitCode BridgeVerb::Execute() {
  ReadWords();
  KeptState state({flow_, state_file_, key_file_}, kWords);
  if (action_ == Action::List) {
    List(state);
  } else {
    Change(state);
  }
  return ExitCode::Done;
}

void BridgeVerb::ReadWords() {
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

void BridgeVerb::ReadNumbers() {
  if (words_.size() < 2) throw UsageError(words_.front() + ": which? Give the numbers that the list shows, or all");
  takes_all_ = words_.size() == 2 && words_[1] == "all";
  for (std::size_t i = 1; i < words_.size() && !takes_all_; ++i) {
    const std::string& word = words_[i];
    std::uint64_t number = 0;
    const std::from_chars_result result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size() || number == 0) {
      throw UsageError(words_.front() + " " + word + ": no number of the list");
    }
    numbers_.insert(number);
  }
}

BridgeList BridgeVerb::ReadList(IDictionary& state) const {
  BridgeList list = ReadBridgeList(state);
  if (instance_.empty()) return list;
  std::erase_if(list.sending, [&](const SendingBridge& bridge) { return bridge.instance != instance_; });
  std::erase_if(list.receiving, [&](const ReceivingBridge& bridge) { return bridge.instance != instance_; });
  return list;
}

void BridgeVerb::List(const KeptState& state) const {
  const KeptState::OwnedDictionary dictionary = state.Look();
  const BridgeList list = ReadList(*dictionary);
  if (as_json_) {
    WriteStandardOutput(BridgeListAsJson(list, state.flow(), state.shown_name()));
  } else {
    WriteStandardOutput(Visible(state.shown_name()) + ": " + CountedBridges(list) + "\n" + BridgeListAsText(list));
  }
}

// Each bridge counts for itself: a number may stand in several.
void BridgeVerb::CheckNumbers(const BridgeList& list, const KeptState& state) const {
  for (const std::uint64_t number : numbers_) {
    std::vector<std::string> holders;
    for (const SendingBridge& bridge : list.sending) {
      const bool has_number = std::any_of(bridge.dead.begin(), bridge.dead.end(),
                                          [&](const DeadLetter& letter) { return letter.number == number; });
      if (has_number) holders.push_back(bridge.instance);
    }
    if (holders.size() == 1) continue;
    const std::string text = std::to_string(number);
    const std::string problem = holders.empty()
                                    ? "there is no dead letter " + text + "; nothing was changed (orvflow bridge " +
                                          flow_ + " lists those that there are)"
                                    : holders[0] + " and " + holders[1] + " have a dead letter " + text +
                                          "; nothing was changed (--instance says which)";
    throw FileError(ExitCode::Failed, state.shown_name(), "", problem);
  }
}

void BridgeVerb::Change(KeptState& state) const {
  const KeptState::OwnedDictionary dictionary = state.Open();
  const BridgeList before = ReadList(*dictionary);
  CheckNumbers(before, state);
  const ChooseLetter choose = [&](const SendingBridge&, const DeadLetter& letter) {
    return takes_all_ || numbers_.contains(letter.number);
  };
  if (!(action_ == Action::Retry ? RetryDead(*dictionary, before, choose) : DropDead(*dictionary, before, choose))) {
    throw std::bad_alloc();
  }
  const std::size_t left = ReadList(*dictionary).CountDead();
  const std::size_t changed = before.CountDead() - left;
  const bool is_finished = action_ == Action::Drop && ReadBridgeList(*dictionary).CountDead() == 0 &&
                           ReadKeptList(*dictionary).Count() == 0 && state.IsFinished(*dictionary);
  if (changed != 0 && is_finished) state.Remove();
  if (changed != 0 && !is_finished) state.Save(*dictionary);
  WriteStandardOutput(Visible(state.shown_name()) + ": " +
                      (changed == 0 ? CountedBridges(before) : Describe(changed, left)) +
                      (changed != 0 && is_finished ? "; nothing is left to do: the state is removed, and the next run "
                                                     "begins anew"
                                                   : "") +
                      "\n");
}

// What was done.
std::string BridgeVerb::Describe(std::size_t changed, std::size_t left) const {
  const std::string letters = Base::Counted(changed, "dead letter");
  return (action_ == Action::Drop ? letters + " given up" : "the next run sends " + letters + " again") +
         (left == 0 ? "" : "; left: " + Base::Counted(left, "dead letter"));
}

}  // namespace

std::unique_ptr<Verb> MakeBridgeVerb(CLI::App& program) { return std::make_unique<BridgeVerb>(program); }

}  // namespace OrvWorkFlow::Program
