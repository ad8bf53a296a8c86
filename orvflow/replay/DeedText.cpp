#include "orvflow/replay/DeedText.h"

#include <algorithm>

#include "base/dictionary/ValueTags.h"
#include "orvflow/document/EntryContent.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Event;
using Journal::Kind;
using Operation = DictionaryChange::Operation;

constexpr std::size_t kColumns = 80;
constexpr std::size_t kMostLines = 8;  // of a side
constexpr std::size_t kLead = 12;      // of what is the same, before what differs in a long text

std::string FiringText(const Firing& fired) {
  const std::string signal = Visible(fired.route.sender_signal);
  switch (fired.kind) {
    case Kind::SignalIgnored:
      return signal + ", which nothing takes";
    case Kind::MappingNotRead:
      return signal + ", whose mapping is none: " + Visible(fired.path);
    case Kind::SignalLost:
      return signal + ", which was lost for lack of memory";
    default:
      break;
  }
  return signal + " -> " + Visible(fired.route.receiver_instance + "." + fired.route.receiver_signal);
}

// Where the texts begin to differ, if that is far behind.
std::size_t CutFor(const std::string& text, const std::string& other) {
  const auto [end, ignored] = std::mismatch(text.begin(), text.end(), other.begin(), other.end());
  const auto same = static_cast<std::size_t>(end - text.begin());
  return same > 3 * kLead ? same - kLead : 0;
}

std::string TextsOf(const Event& change, const Event* other) {
  std::vector<std::string> texts = change.texts;
  std::string lead;
  if (texts.size() == 1 && other != nullptr && other->texts.size() == 1) {
    const std::size_t cut = CutFor(texts.front(), other->texts.front());
    if (cut > 0) lead = "from byte " + std::to_string(cut) + " on, ";
    texts.front().erase(0, cut);
  }
  if (change.operation == Operation::SetValue) {
    return lead + ShownValue({std::string(Base::TagOf(change.value_type)), texts});
  }
  return texts.empty() ? "" : lead + ShownText(texts.front());
}

std::string ChangeText(const Event& change, const Event* other) {
  const std::string path = Visible(change.path);
  const std::string name = Visible(change.other);
  switch (change.operation) {
    case Operation::SetValue:
      return path + ": " + TextsOf(change, other);
    case Operation::SetAttribute:
      return path + ", " + name + "=" + TextsOf(change, other);
    case Operation::RemoveAttribute:
      return path + ", without " + name;
    case Operation::Delete:
      return path + ", deleted";
    case Operation::Clear:
      return path + ", cleared";
    case Operation::Rename:
      return path + ", renamed to " + name;
    case Operation::Copy:
      return path + ", copied from " + name;
    case Operation::Move:
      return path + ", moved from " + name;
    case Operation::Merge:
      return path + ", with what is merged in: " + TextsOf(change, other);
    case Operation::Replace:
      return path + ", replaced by " + TextsOf(change, other);
    case Operation::Load:
      return "all, loaded: " + TextsOf(change, other);
    case Operation::EmptyPairs:
      break;
  }
  return "the name-value pairs, emptied";
}

void AppendLine(std::string& text, const char* lead, const std::string& line) {
  text += lead + ShortenedTo(kColumns - 4, line) + "\n";
}

void AppendSide(std::string& text, const char* lead, const std::vector<std::string>& lines, std::size_t begin,
                std::size_t end) {
  const std::size_t shown = std::min(end, begin + kMostLines);
  for (std::size_t i = begin; i < shown; ++i) AppendLine(text, lead, lines[i]);
  if (shown < end) AppendLine(text, lead, "... " + std::to_string(end - shown) + " more");
}

}  // namespace

const char* OperationWord(Operation operation) {
  switch (operation) {
    case Operation::SetValue:
      return "set value";
    case Operation::SetAttribute:
      return "set attribute";
    case Operation::RemoveAttribute:
      return "remove attribute";
    case Operation::Delete:
      return "delete";
    case Operation::Clear:
      return "clear";
    case Operation::Rename:
      return "rename";
    case Operation::Copy:
      return "copy";
    case Operation::Move:
      return "move";
    case Operation::Merge:
      return "merge";
    case Operation::Replace:
      return "replace";
    case Operation::Load:
      return "load";
    case Operation::EmptyPairs:
      break;
  }
  return "empty pairs";
}

std::string AnswerText(const Deeds& deeds) {
  const std::string word = OutcomeWord(deeds.outcome);
  return deeds.text.empty() ? word : word + ": " + Visible(deeds.text);
}

std::vector<std::string> FiringTexts(const Deeds& deeds) {
  std::vector<std::string> texts;
  for (const Firing& fired : deeds.fired) texts.push_back(FiringText(fired));
  return texts;
}

std::vector<std::string> ChangeTexts(const Deeds& deeds, const Deeds& other) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < deeds.changes.size(); ++i) {
    const bool is_at_both = i < other.changes.size() && other.changes[i].path == deeds.changes[i].path;
    const bool differs = is_at_both && !IsSameChange(deeds.changes[i], other.changes[i]);
    texts.push_back(ChangeText(deeds.changes[i], differs ? &other.changes[i] : nullptr));
  }
  return texts;
}

std::string SectionText(const std::string& title, const std::vector<std::string>& recorded,
                        const std::vector<std::string>& replayed) {
  if (recorded == replayed) return {};
  std::size_t begin = 0;
  const std::size_t least = std::min(recorded.size(), replayed.size());
  while (begin < least && recorded[begin] == replayed[begin]) ++begin;
  std::size_t same = 0;
  while (begin + same < least && recorded[recorded.size() - 1 - same] == replayed[replayed.size() - 1 - same]) ++same;
  std::string text = "  " + title + ":\n";
  if (begin > 2) AppendLine(text, "    ", "... " + std::to_string(begin - 1) + " the same");
  for (std::size_t i = begin > 2 ? begin - 1 : 0; i < begin; ++i) AppendLine(text, "    ", recorded[i]);
  AppendSide(text, "  - ", recorded, begin, recorded.size() - same);
  AppendSide(text, "  + ", replayed, begin, replayed.size() - same);
  if (same > 0) AppendLine(text, "    ", "... " + std::to_string(same) + " the same");
  return text;
}

}  // namespace OrvWorkFlow::Program
