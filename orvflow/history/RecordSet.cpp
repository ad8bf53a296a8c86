#include "orvflow/history/RecordSet.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <utility>

#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::size_t kMostColumns = 16;

// "south.xml" of "/home/me/south.xml", whatever platform the run was on.
std::string LastOf(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return path.substr(slash == std::string::npos ? 0 : slash + 1);
}

// "south"
std::string StemOf(const std::string& path) {
  const std::string name = LastOf(path);
  const std::size_t dot = name.rfind('.');
  return dot == 0 || dot == std::string::npos ? name : name.substr(0, dot);
}

}  // namespace

RecordSet::RecordSet(const std::vector<std::string>& files, Keeps keeps) {
  for (const std::string& file : files) Read(file, keeps);
  NameThem();
}

void RecordSet::Read(const std::string& file, Keeps keeps) {
  RecordFile source(file);
  Record& record = records_.emplace_back();
  record.file = file;
  record.path = source.path();
  Journal::DeliveryHistory history;
  source.ReadAll([&](const Journal::Event& event) {
    record.ways.Take(event);
    std::optional<Journal::Delivery> ended = history.Take(event);
    if (event.kind == Journal::Kind::RunBegun) {
      record.name = StemOf(event.path);
      record.runs.push_back(event.name);
    }
    if (ended && keeps == Keeps::Deliveries) {
      const DeliveryPlace place{ended->run, ended->number};
      record.deliveries[place] = *std::move(ended);
    }
  });
  using State = Journal::RecordReader::State;
  if (source.reader().state() != State::AtEnd) record.problem = source.reader().problem();
  if (record.runs.empty()) {
    source.ThrowIfDamaged();
    throw FileError(ExitCode::Failed, file, "", "holds no run");
  }
  ExpectOthers(record);
}

// Each signal would be there twice.
void RecordSet::ExpectOthers(const Record& added) const {
  for (const Record& other : records_) {
    if (&other == &added) continue;
    std::error_code error;
    const bool is_file = std::filesystem::equivalent(other.path, added.path, error) && !error;
    const bool is_run = std::any_of(added.runs.begin(), added.runs.end(), [&](const std::string& run) {
      return !run.empty() && std::find(other.runs.begin(), other.runs.end(), run) != other.runs.end();
    });
    if (is_file || is_run) throw FileError(ExitCode::Failed, added.file, "", "holds the same run as " + other.file);
  }
}

void RecordSet::NameThem() {
  const auto are_different = [&] {
    std::vector<std::string> names;
    for (const Record& record : records_) names.push_back(record.name);
    std::sort(names.begin(), names.end());
    return std::adjacent_find(names.begin(), names.end()) == names.end();
  };
  const auto name_by = [&](const std::function<std::string(const Record&)>& name) {
    if (are_different()) return;
    for (Record& record : records_) record.name = name(record);
  };
  name_by([](const Record& record) { return LastOf(record.file); });
  name_by([](const Record& record) { return record.file; });
  for (const Record& record : records_) {
    width_ = std::max(width_, std::min(kMostColumns, ColumnsOf(Visible(record.name))));
  }
}

std::string RecordSet::Named(std::size_t record, const std::string& lines) const {
  const std::string prefix = Padded(ShortenedTo(kMostColumns, Visible(name(record))), width_) + " ";
  std::string named;
  for (std::size_t begin = 0; begin < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', begin), lines.size() - 1) + 1;
    named += prefix + lines.substr(begin, end - begin);
    begin = end;
  }
  return named;
}

std::optional<RecordSet::Where> RecordSet::FindSend(const LetterKey& key) const {
  for (std::size_t i = records_.size(); i > 0; --i) {
    if (const auto place = records_[i - 1].ways.FindSend(key)) return Where{i - 1, *place};
  }
  return std::nullopt;
}

std::vector<RecordSet::Where> RecordSet::FindArrivals(const LetterKey& key) const {
  std::vector<Where> found;
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const auto arrivals = records_[i].ways.arrivals().find(key);
    if (arrivals == records_[i].ways.arrivals().end()) continue;
    for (const DeliveryPlace& place : arrivals->second) found.push_back({i, place});
  }
  return found;
}

const Journal::Delivery* RecordSet::Find(const Where& where) const {
  const auto& deliveries = records_[where.record].deliveries;
  const auto found = deliveries.find(where.place);
  return found == deliveries.end() ? nullptr : &found->second;
}

std::string RecordSet::NameOf(const Where& where) const {
  const Record& record = records_[where.record];
  const std::string text = Visible(record.name) + " " + SignalNumberText(where.place.number);
  return record.ways.CountRuns() == 1 ? text : text + " of run " + std::to_string(where.place.run);
}

std::string RecordSet::WhyNotSent(const LetterKey& key) const {
  for (const Record& record : records_) {
    switch (record.ways.WhyNotSent(key)) {
      case BridgeWays::Lack::OtherSender:
        continue;
      case BridgeWays::Lack::BeginsLater:
        return record.file + " begins after it was sent";
      case BridgeWays::Lack::EndsEarlier:
        return record.file + " ends before it was sent";
      case BridgeWays::Lack::SentAgain:
        return "no delivery in " + record.file + " sent it: a dead letter that was sent again, or of a run between";
    }
  }
  return "no record here is that of its sender; --with adds one";
}

bool RecordSet::IsStranger(std::size_t record) const {
  for (std::size_t i = 0; i < records_.size(); ++i) {
    for (const auto& [key, places] : records_[i].ways.arrivals()) {
      for (std::size_t other = 0; other < records_.size(); ++other) {
        if (i == other || (i != record && other != record)) continue;
        if (records_[other].ways.WhyNotSent(key) != BridgeWays::Lack::OtherSender) return false;
      }
    }
  }
  return true;
}

void RecordSet::WarnOfStrangers() const {
  for (std::size_t i = 0; i < records_.size(); ++i) {
    if (IsStranger(i)) {
      PrintErrorLine(records_[i].file + ": no signal went over a bridge between its runs and those of the others");
    }
  }
}

void RecordSet::ThrowIfDamaged() const {
  for (const Record& record : records_) {
    if (!record.problem.empty()) throw FileError(ExitCode::DictionaryDamaged, record.file, "", record.problem);
  }
}

}  // namespace OrvWorkFlow::Program
