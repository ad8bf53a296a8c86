#include "nodes/filing/FolderWatcher.h"

#include <charconv>
#include <optional>
#include <vector>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"watch", "begins"},
    {"next", "what was told of is done with: the next one is told"},
    {"stop", "ends it"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"new", false, "a file has come; File names it"},
    {"changed", false, "a file is another one now"},
    {"gone", false, "a file has gone"},
    {"ended", false, "stop came"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Folder", "", "the folder"),
    TextParameterRow("Pattern", "*", "which files: * and ? stand for characters, ; is between patterns"),
    TextParameterRow("Except", "*.part;*.tmp;.*", "which not, by their own names"),
    BooleanParameterRow("Recursive", false, "whether the folders in it count"),
    BooleanParameterRow("Existing", true, "whether what is there at the beginning is told of as new"),
    BooleanParameterRow("Wait", true, "whether the next one is told of only after next; without, at once"),
    NumberParameterRow("SettleMilliseconds", "1000", 0, "how long a file has to be unchanged"),
    NumberParameterRow("PollMilliseconds", "500", 10, "how often the folder is looked at"),
};

constexpr char kKnown[] = "Known";
constexpr char kEvent[] = "Event";
constexpr char kTold[] = "Told";
constexpr int kIsBeingTold = 1;
constexpr int kIsTold = 2;
constexpr char kEnd[] = "End";
constexpr auto kUntilWoken = std::chrono::minutes(10);

bool IsAsBefore(const FileState& left, const FileState& right) {
  return left.size == right.size && left.changed == right.changed;
}

}  // namespace

constinit const NodeDescription FolderWatcher::kDescription = {
    .sentence = "Watches a folder and tells of files that are new, changed or gone, when they are complete",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool FolderWatcher::OnSignal(std::string_view signal) {
  if (signal == "next" || signal == "stop") {
    Sdk::NodeRecord record = Record();
    if (signal == "stop") {
      record.SetNumber(kEnd, 1);
    } else if (record.Has(kTold)) {
      record.Remove(kEvent);
      record.Remove(kTold);
    }
    Wake();
    return true;
  }
  return TaskNode::OnSignal(signal);
}

const char* FolderWatcher::DoTask(const std::string& /*task*/) {
  folder_ = TextParameter("Folder");
  unsettled_.clear();
  events_.clear();
  const std::chrono::milliseconds poll(NumberParameter("PollMilliseconds"));
  if (!Begin()) return nullptr;
  while (true) {
    if (Record().Has(kEnd)) return "ended";
    bool goes_on = true;
    if (!Tell()) {
      goes_on = Pause(kUntilWoken);
    } else if (!events_.empty()) {
      Take(events_.front());
      events_.pop_front();
    } else if (!Look()) {
      return nullptr;
    } else if (events_.empty()) {
      goes_on = Pause(poll);
    }
    if (!goes_on || StopWanted()) return nullptr;
  }
}

bool FolderWatcher::Begin() {
  known_.clear();
  if (Record().Has(kKnown)) {
    ReadKnown();
    return true;
  }
  if (!BooleanParameter("Existing")) {
    if (!Look()) return false;
    for (const auto& [name, unsettled] : unsettled_) known_[name] = unsettled.state;
    for (const Event& event : events_) known_[event.name] = event.state;
    unsettled_.clear();
    events_.clear();
  }
  WriteKnown();
  return true;
}

bool FolderWatcher::Look() {
  ListingOrder order;
  order.folder = LocalPath(FileSystem(), folder_);
  order.shown_name = folder_;
  order.patterns = TextParameter("Pattern");
  order.recursive = BooleanParameter("Recursive");
  order.stop_wanted = [this] { return StopWanted(); };
  const std::optional<Listing> listing = ListFolder(order);
  if (!listing) return false;
  const std::string except = TextParameter("Except");
  std::map<std::string, Unsettled> unsettled;
  States gone = known_;
  for (const ListedFile& file : listing->files) {
    if (!except.empty() && FitsPattern(file.name, except)) continue;
    gone.erase(file.name);
    const auto known = known_.find(file.name);
    if (known != known_.end() && IsAsBefore(known->second, file.state)) continue;
    if (IsComplete(file.name, file.state)) {
      events_.push_back({known == known_.end() ? "new" : "changed", file.name, file.state});
    } else {
      const auto before = unsettled_.find(file.name);
      const bool same = before != unsettled_.end() && IsAsBefore(before->second.state, file.state);
      unsettled[file.name] = same ? before->second : Unsettled{file.state, Clock::now()};
    }
  }
  unsettled_ = std::move(unsettled);
  for (const auto& [name, state] : gone) events_.push_back({"gone", name, state});
  return true;
}

bool FolderWatcher::IsComplete(const std::string& name, const FileState& state) {
  const std::chrono::milliseconds settle(NumberParameter("SettleMilliseconds"));
  const auto before = unsettled_.find(name);
  const bool is_old = PresentMoment() - state.changed >= std::chrono::microseconds(settle).count();
  const bool has_settled = before != unsettled_.end() && IsAsBefore(before->second.state, state) &&
                           Clock::now() - before->second.since >= settle;
  if (!is_old && !has_settled) return false;
  try {
    const std::string path = PathBelow(folder_, name);
    const LocalFile file(LocalPath(FileSystem(), path), LocalFile::Mode::Read, path);
  } catch (const FileProblem& problem) {
    // What cannot be read at all is for whoever takes it.
    return !std::string_view(problem.what()).ends_with(FileReasons::kInUse);
  }
  return true;
}

// The event and what is known then become part of the state together: whoever continues tells it, or has told it.
void FolderWatcher::Take(const Event& event) {
  Sdk::NodeRecord record = Record();
  record.Remove(kTold);
  record.SetText("File", PathBelow(folder_, event.name));
  record.SetText("Name", event.name);
  record.SetText(kEvent, event.kind);
  if (event.kind == "gone") {
    known_.erase(event.name);
  } else {
    known_[event.name] = event.state;
  }
  WriteKnown();
}

bool FolderWatcher::Tell() {
  Sdk::NodeRecord record = Record();
  const std::string kind = record.Text(kEvent);
  if (kind.empty()) return true;
  const bool waits = BooleanParameter("Wait");
  // "next" may come as soon as it is fired. Killed in between, it is told once more.
  if (record.Number(kTold) != kIsTold) {
    record.SetNumber(kTold, kIsBeingTold);
    FireOutput(kind == "new" ? "new" : kind == "changed" ? "changed" : "gone");
    if (record.Has(kTold)) record.SetNumber(kTold, kIsTold);
  }
  if (waits) return !record.Has(kEvent);
  record.Remove(kEvent);
  record.Remove(kTold);
  return true;
}

void FolderWatcher::WriteKnown() {
  std::vector<std::string> items;
  for (const auto& [name, state] : known_) {
    items.push_back(std::to_string(state.changed) + " " + std::to_string(state.size) + " " + name);
  }
  Record().SetTexts(kKnown, items);
}

void FolderWatcher::ReadKnown() {
  const std::vector<std::string> items = Record().Texts(kKnown);
  for (const std::string& item : items) {
    const char* const end = item.data() + item.size();
    FileState state;
    const auto changed = std::from_chars(item.data(), end, state.changed);
    if (changed.ec != std::errc() || changed.ptr == end) continue;
    const auto size = std::from_chars(changed.ptr + 1, end, state.size);
    if (size.ec != std::errc() || size.ptr == end) continue;
    known_[std::string(size.ptr + 1, end)] = state;
  }
}

}  // namespace OrvWorkFlow::Nodes
