#include "nodes/flow/Loop.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <vector>

#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kActive[] = "Active";
constexpr char kGiven[] = "Given";
constexpr char kOver[] = "IsOver";

// The folder of a place, with a "/" behind it.
std::string FolderOf(int place) { return place == 0 ? "" : std::to_string(place) + "/"; }

}  // namespace

void Loop::Begin(int first_place, int last_place) {
  LoopItems::Loop loop;
  std::string problem;
  try {
    loop.over = TextParameter("Over");
  } catch (const Sdk::Parameters::WrongWord& wrong) {
    problem = wrong.what();
  }
  loop.what = TextParameter("What");
  loop.pattern = TextParameter("Pattern");
  loop.is_recursive = BooleanParameter("Recursive");
  loop.items = TextListParameter("Items");
  Sdk::NodeRecord record = Record();
  record.Clear();
  items_.Reset();
  record.SetNumber(kGiven, 0);
  record.SetTexts(kActive, {});
  if (!problem.empty()) return Fail(problem);
  try {
    LoopItems::Begin(record, WorkflowDictionary(), loop);
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
  for (int place = first_place; place <= last_place; ++place) Give(place);
}

void Loop::Give(int place) {
  Sdk::NodeRecord record = Record();
  if (record.Has(kOver)) return;
  std::optional<std::string> item;
  try {
    item = items_.Next(record, FileSystem());
  } catch (const std::exception& error) {
    return Fail(error.what());
  }
  if (!item) return EndWhenIdle(record);
  const std::int64_t number = record.Number(kGiven) + 1;
  record.SetNumber(kGiven, number);
  record.SetNumber(FolderOf(place) + "Number", number);
  record.SetText(FolderOf(place) + "Item", *item);
  std::vector<std::string> active = record.Texts(kActive);
  active.push_back(std::to_string(place));
  record.SetTexts(kActive, active);
  FireItem(place);
}

bool Loop::EndItem(int place) {
  Sdk::NodeRecord record = Record();
  std::vector<std::string> active = record.Texts(kActive);
  const auto found = std::find(active.begin(), active.end(), std::to_string(place));
  if (found == active.end()) return false;
  active.erase(found);
  record.SetTexts(kActive, active);
  Give(place);
  return true;
}

void Loop::EndWhenIdle(Sdk::NodeRecord& record) {
  if (!record.Texts(kActive).empty()) return;
  record.SetNumber(kOver, 1);
  FireOutput("finished");
}

// What is under way may end; nothing more is given.
void Loop::Fail(const std::string& problem) {
  Sdk::NodeRecord record = Record();
  record.SetText("Problem", problem);
  record.SetNumber(kOver, 1);
  if (!IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), "failed")) TellUser(problem);
  FireOutput("failed");
}

}  // namespace OrvWorkFlow::Nodes
